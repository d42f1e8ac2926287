// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_choice.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::editor {
namespace {

using render::FilmForm;

class ExportChoiceTest : public testing::Test {
  protected:
    ExportChoice first(const std::filesystem::path& last = {}) { return firstChoice(settings_, film_, last); }
    std::string obstacle(const ExportChoice& choice) { return choiceObstacle(choice, film_, list_); }

    const TemporaryFolder folder_;
    const TemporaryFolder elsewhere_;
    model::ProjectSettings settings_;
    FilmFacts film_{folder_.path(), 12.5, 1080};
    ExportList list_;
};

TEST_F(ExportChoiceTest, BeginsWithTheDocumentsFormAndTheRecordingsName) {
    settings_.exportFormat = model::ExportFormat::mov;
    settings_.exportHeight = 2160;
    const ExportChoice choice = first();
    EXPECT_EQ(choice.form, FilmForm::mov);
    EXPECT_EQ(choice.height, 2160);
    EXPECT_EQ(choice.file, folder_ / (folder_.path().filename().string() + ".mov"));
    EXPECT_EQ(choice.animation.to, 12.5);
    EXPECT_EQ(first(elsewhere_.path()).file.parent_path(), elsewhere_.path());
    EXPECT_EQ(first("/no/such/folder").file.parent_path(), folder_.path());
    film_.seconds = 100;
    EXPECT_EQ(first().animation.to, 30);
}

TEST_F(ExportChoiceTest, TheNameFollowsTheForm) {
    ExportChoice choice = first();
    choice.file = "/a/film.mp4";
    choice = withForm(choice, FilmForm::gif);
    EXPECT_EQ(choice.file, "/a/film.gif");
    choice.file = "/a/Version 1.2.gif";
    choice = withForm(choice, FilmForm::webm);
    EXPECT_EQ(choice.file, "/a/Version 1.2.webm");
    EXPECT_EQ(withExtension("/a/Version 1.2", FilmForm::mp4), "/a/Version 1.2.mp4");
    EXPECT_EQ(withExtension("/a/film.MP4", FilmForm::mp4), "/a/film.MP4");
}

TEST_F(ExportChoiceTest, SaysWhatTheFileWillBe) {
    ExportChoice choice = first();
    choice.height = 1080;
    EXPECT_EQ(choiceNote(choice, film_), "1920×1080 Pixel, 12.5 s, höchstens 23,0 MB");
    film_.earlier = {{FilmForm::mp4, 1080, 500'000}};
    EXPECT_EQ(choiceNote(choice, film_), "1920×1080 Pixel, 12.5 s, etwa 6,2 MB");
    EXPECT_EQ(choiceNote(withForm(choice, FilmForm::webm), film_), "1920×1080 Pixel, 12.5 s");
    choice = withForm(choice, FilmForm::gif);
    EXPECT_EQ(choiceNote(choice, film_), "640×360 Pixel, 12.5 s, läuft in einer Schleife.");
    film_.seconds = 100;
    EXPECT_EQ(
        choiceNote(withForm(first(), FilmForm::webp), film_),
        "640×360 Pixel, 30.0 s, läuft in einer Schleife. Der Film dauert 100.0 s; ein bewegtes Bild zeigt höchstens "
        "30 s davon.");
}

TEST_F(ExportChoiceTest, EstimatesTheSizeFromTheLimitOrFromAnEarlierFilm) {
    ExportChoice choice = first();
    film_ = {folder_.path(), 600, 1440, false, 60, true};
    choice.height = 1440;
    const auto limit = estimatedSize(choice, film_);
    ASSERT_TRUE(limit);
    EXPECT_TRUE(limit->isLimit);
    // 22.1 Mbit/s for the pictures and 192 kbit/s for the sound.
    EXPECT_NEAR(static_cast<double>(limit->bytes), 1.69e9, 0.02e9);
    film_.hasSound = false;
    EXPECT_NEAR(static_cast<double>(limit->bytes - estimatedSize(choice, film_)->bytes), 14.4e6, 0.1e6);
    film_.fps = 30;
    EXPECT_NEAR(static_cast<double>(estimatedSize(choice, film_)->bytes), 0.835e9, 0.01e9);
    // The newest film of the same kind counts.
    film_.earlier = {{FilmForm::mp4, 1440, 1e6}, {FilmForm::mp4, 1440, 2e5}, {FilmForm::mp4, 1080, 1e5}};
    EXPECT_EQ(estimatedSize(choice, film_)->bytes, 120'000'000U);
    EXPECT_FALSE(estimatedSize(choice, film_)->isLimit);
    choice.height = 2160;
    EXPECT_TRUE(estimatedSize(choice, film_)->isLimit);
    EXPECT_FALSE(estimatedSize(withForm(choice, FilmForm::webm), film_));
    EXPECT_FALSE(estimatedSize(withForm(choice, FilmForm::gif), film_));
}

TEST_F(ExportChoiceTest, SaysWhyNot) {
    ExportChoice choice = first(elsewhere_.path());
    EXPECT_EQ(obstacle(choice), "");
    choice.file = elsewhere_.path() / "";
    EXPECT_EQ(obstacle(choice), "Die Datei braucht einen Namen.");
    choice.file = "/no/such/folder/film.mp4";
    EXPECT_EQ(obstacle(choice), "Den Ordner /no/such/folder gibt es nicht.");
    std::filesystem::create_directory(elsewhere_ / "film.mp4");
    choice.file = elsewhere_ / "film.mp4";
    EXPECT_EQ(obstacle(choice), "film.mp4 ist ein Ordner.");
    choice.file = elsewhere_ / "other.mp4";
    ExportEntry entry;
    entry.file = choice.file;
    list_.add(entry);
    EXPECT_EQ(obstacle(choice), "other.mp4 wird gerade schon gerendert.");
    choice = withForm(first(elsewhere_.path()), FilmForm::gif);
    choice.animation.from = 12.5;
    EXPECT_EQ(obstacle(choice), "Der Ausschnitt ist leer: Der Film dauert 12.5 Sekunden.");
    if (::geteuid() == 0) return;  // may write everywhere
    choice = first("/proc");
    EXPECT_EQ(obstacle(choice), "In den Ordner /proc darf nicht geschrieben werden.");
}

TEST_F(ExportChoiceTest, AsksBeforeItReplaces) {
    ExportChoice choice = first();
    EXPECT_FALSE(replacesFile(choice));
    std::filesystem::create_symlink("/no/such/file", choice.file);
    EXPECT_TRUE(replacesFile(choice)) << "the link would be replaced";
}

TEST_F(ExportChoiceTest, TheListSaysWhatBecameOfAnExport) {
    ExportEntry entry;
    entry.folder = "/Filme/Aufnahme 3/";
    entry.file = "/Filme/film.webm";
    entry.width = 1920;
    entry.height = 1080;
    EXPECT_EQ(exportTitle(entry), "Aufnahme 3 – film.webm");
    EXPECT_EQ(exportStatus(entry), "Wartet");
    entry.state = ExportState::running;
    EXPECT_EQ(exportStatus(entry), "Rendere in 1920×1080 …");
    entry.remaining = 9;
    EXPECT_EQ(exportStatus(entry), "Rendere in 1920×1080 … noch 9 s");
    entry.isCancelling = true;
    EXPECT_EQ(exportStatus(entry), "Wird abgebrochen …");
    entry.state = ExportState::cancelled;
    EXPECT_EQ(exportStatus(entry), "Abgebrochen");
    entry.state = ExportState::done;
    entry.seconds = 12.5;
    EXPECT_EQ(exportStatus(entry), "Fertig: 1920×1080, 12.5 s");
    EXPECT_EQ(exportNotice(entry).heading, "Das Video ist fertig");
    entry.state = ExportState::failed;
    entry.reason = "Kein Platz.";
    EXPECT_EQ(exportStatus(entry), "Fehlgeschlagen: Kein Platz.");
    EXPECT_EQ(exportNotice(entry).text, "Aufnahme 3 – film.webm\nKein Platz.");
}

}  // namespace
}  // namespace lumivastor::editor
