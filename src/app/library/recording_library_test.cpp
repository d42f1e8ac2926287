// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_library.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/recorder_error.h"
#include "capture/journal/journal.h"
#include "support/manual_main_loop.h"
#include "support/small_recording.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<fs::path>;
using Names = std::vector<std::string>;

class RecordingLibraryTest : public testing::Test {
  protected:
    RecordingLibraryTest() { fs::create_directories(root_); }

    RecordingLibrary& open(const Paths& places = {}) {
        library_ = std::make_unique<RecordingLibrary>(
            loop_, RecordingLibrary::Options{.root = root_,
                                             .pictureCache = home_ / "cache",
                                             .homeTrash = home_ / "Trash",
                                             .useOf = [this](const fs::path&) { return use_; },
                                             .places = places,
                                             .placesChanged = [this](const Paths& now) { remembered_ = now; }});
        library_->onChange = [this] { ++changes_; };
        library_->refresh();
        return *library_;
    }
    // Reading needs no real movie.
    void makeRecording(const fs::path& folder, const std::string& movie = "movie") {
        home_.write(fs::relative(folder, home_.path()) / "source.mov", movie);
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.duration = 12;
        info.save(folder);
    }
    static void makeRealRecording(const fs::path& folder) {
        fs::create_directories(folder);
        makeSmallRecording(folder, 30, 1080);
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const RecordingEntry& entry : library_->entries()) all.push_back(entry.name());
        std::sort(all.begin(), all.end());
        return all;
    }
    bool untilNames(const std::vector<std::string>& expected) {
        return loop_.runUntil([&] { return names() == expected; });
    }
    // What is learned is told a moment later.
    template <typename Condition>
    bool untilLearned(Condition condition) {
        return loop_.runUntil([&] {
            loop_.advance(0.1);
            return condition();
        });
    }
    const RecordingEntry& only() const { return library_->entries().at(0); }
    // The new path, or the sentence.
    std::string rename(const fs::path& folder, const std::string& typed) {
        std::optional<std::string> answer;
        library_->rename(folder, typed, [&](const RecordingLibrary::RenameOutcome& outcome) {
            const auto* const error = std::get_if<RecorderError>(&outcome);
            answer = error != nullptr ? error->message() : std::get<fs::path>(outcome).string();
        });
        EXPECT_TRUE(library_->isChanging(folder));
        EXPECT_TRUE(loop_.runUntil([&] { return answer.has_value(); }));
        EXPECT_FALSE(library_->isChanging(folder));
        return answer.value_or("");
    }
    // The sentences about what stays where it is.
    Names trash(const Paths& folders) {
        std::optional<Names> refused;
        library_->moveToTrash(folders, [&](const RecordingLibrary::TrashOutcome& outcome) {
            refused.emplace();
            for (const RecorderError& error : outcome.refused) refused->push_back(error.message());
            EXPECT_EQ(outcome.moved.size() + outcome.refused.size(), folders.size());
        });
        EXPECT_TRUE(loop_.runUntil([&] { return refused.has_value(); }));
        return refused.value_or(Names{});
    }

    TemporaryFolder home_;
    fs::path root_ = home_ / "Movies/LumiVastor";
    ManualMainLoop loop_;
    RecordingUse use_ = RecordingUse::none;
    Paths remembered_;
    int changes_ = 0;
    std::unique_ptr<RecordingLibrary> library_;
};

TEST_F(RecordingLibraryTest, TextComesFirstAndSizeAndPictureLater) {
    makeRealRecording(root_ / "A");
    open();
    EXPECT_FALSE(library_->isRead());
    ASSERT_TRUE(loop_.runUntil([this] { return library_->isRead(); }));
    EXPECT_EQ(changes_, 1);
    EXPECT_EQ(only().name(), "A");
    EXPECT_EQ(only().duration, 1);
    EXPECT_TRUE(only().isEdited);
    ASSERT_TRUE(untilLearned([this] { return only().bytes && library_->picture(root_ / "A"); }));
    EXPECT_GT(*only().bytes, 1000U);
    EXPECT_EQ(library_->picture(root_ / "A")->width(), 128);
    const int before = changes_;
    library_->refresh();
    ASSERT_TRUE(loop_.runUntil([&] { return changes_ > before; }));
    EXPECT_TRUE(only().bytes && library_->picture(root_ / "A")) << "what is known stays";
}

TEST_F(RecordingLibraryTest, AMissingRootIsAnEmptyList) {
    fs::remove_all(home_ / "Movies");
    open();
    ASSERT_TRUE(loop_.runUntil([this] { return library_->isRead(); }));
    EXPECT_TRUE(library_->entries().empty());
    EXPECT_EQ(library_->watchedFolders(), Paths{home_.path()});
    makeRecording(root_ / "A");
    library_->refresh();
    EXPECT_TRUE(untilNames({"A"}));
    EXPECT_EQ(library_->watchedFolders(), (Paths{root_, root_ / "A"}));
}

TEST_F(RecordingLibraryTest, AMovieThatCannotBeReadIsFoundOutLater) {
    makeRecording(root_ / "A", "no movie");
    open();
    ASSERT_TRUE(untilNames({"A"}));
    ASSERT_TRUE(untilLearned([this] { return only().state == RecordingState::damaged; }));
    EXPECT_FALSE(only().fault.empty());
    EXPECT_FALSE(library_->picture(root_ / "A"));
}

TEST_F(RecordingLibraryTest, WhatChangesOnTheDiskIsReadAgain) {
    makeRecording(root_ / "A");
    open();
    ASSERT_TRUE(untilLearned([this] { return library_->isRead() && only().bytes.has_value(); }));
    const std::uint64_t before = *only().bytes;
    home_.write("Movies/LumiVastor/A/studio-output.mp4", std::string(1'000'000, 'x'));
    makeRecording(root_ / "B");
    library_->refresh();
    // While it is being read: then it is read again.
    makeRecording(root_ / "C");
    library_->refresh();
    ASSERT_TRUE(untilNames({"A", "B", "C"}));
    ASSERT_TRUE(untilLearned([&] { return only().bytes.value_or(0) > before + 900'000; }));
    EXPECT_TRUE(only().renderedAt);
    fs::remove_all(root_ / "B");
    library_->refresh();
    EXPECT_TRUE(untilNames({"A", "C"}));
}

TEST_F(RecordingLibraryTest, PlacesElsewhereAreRememberedAndForgottenWhenTheyAreGone) {
    makeRecording(root_ / "A");
    makeRecording(home_ / "course/B");
    makeRecording(home_ / "C");
    open({home_ / "gone", home_ / "course/"});
    ASSERT_TRUE(untilNames({"A", "B"}));
    ASSERT_TRUE(loop_.runUntil([this] { return remembered_ == Paths{home_ / "course"}; }));
    library_->remember(home_ / "C");
    ASSERT_TRUE(untilNames({"A", "B", "C"}));
    EXPECT_EQ(remembered_, (Paths{home_ / "course", home_ / "C"}));
    // These are listed already.
    library_->remember(root_);
    library_->remember(root_ / "A");
    library_->remember(home_ / "course/B");
    fs::create_directory_symlink(root_, home_ / "link");
    library_->remember(home_ / "link/A");
    EXPECT_EQ(remembered_, (Paths{home_ / "course", home_ / "C"}));
    fs::remove_all(home_ / "C");
    library_->refresh();
    ASSERT_TRUE(untilNames({"A", "B"}));
    EXPECT_EQ(remembered_, Paths{home_ / "course"});
}

TEST_F(RecordingLibraryTest, TheOldestPlaceIsForgottenFirst) {
    open();
    const auto name = [](std::size_t i) { return "place " + std::to_string(i); };
    for (std::size_t i = 0; i <= RecordingLibrary::kMostPlaces; ++i) {
        makeRecording(home_ / name(i));
        library_->remember(home_ / name(i));
    }
    ASSERT_EQ(remembered_.size(), RecordingLibrary::kMostPlaces);
    EXPECT_EQ(remembered_.front(), home_ / name(1));
    EXPECT_EQ(remembered_.back(), home_ / name(RecordingLibrary::kMostPlaces));
    EXPECT_TRUE(loop_.runUntil([this] { return names().size() == RecordingLibrary::kMostPlaces; }));
}

TEST_F(RecordingLibraryTest, WhatIsDroppedIsAddedIfItHoldsARecording) {
    makeRecording(home_ / "course/B");
    home_.write("photos/a.jpg", "x");
    open();
    std::optional<std::optional<fs::path>> answer;
    const auto add = [&](const fs::path& place) {
        answer.reset();
        library_->add(place, [&](const std::optional<fs::path>& first) { answer = first; });
        EXPECT_TRUE(loop_.runUntil([&] { return answer.has_value(); }));
        return answer.value_or(std::nullopt);
    };
    EXPECT_EQ(add(home_ / "photos"), std::nullopt);
    EXPECT_EQ(add(home_ / "nothing"), std::nullopt);
    EXPECT_TRUE(remembered_.empty());
    EXPECT_EQ(add(home_ / "course"), home_ / "course/B");
    EXPECT_EQ(remembered_, Paths{home_ / "course"});
    EXPECT_TRUE(untilNames({"B"}));
}

TEST_F(RecordingLibraryTest, RenamesTheFolder) {
    makeRealRecording(root_ / "A");
    open();
    ASSERT_TRUE(untilLearned([this] { return library_->isRead() && library_->picture(root_ / "A"); }));
    EXPECT_EQ(rename(root_ / "A", "  Übung 1 "), root_ / "Übung 1");
    EXPECT_EQ(names(), std::vector<std::string>{"Übung 1"}) << "before the disk is read again";
    EXPECT_TRUE(library_->picture(root_ / "Übung 1"));
    EXPECT_TRUE(fs::exists(root_ / "Übung 1/source.mov"));
    EXPECT_FALSE(fs::exists(root_ / "A"));
    loop_.runPending();
    EXPECT_EQ(names(), std::vector<std::string>{"Übung 1"});
    EXPECT_EQ(rename(root_ / "Übung 1", "Übung 1"), root_ / "Übung 1");
}

TEST_F(RecordingLibraryTest, APlaceElsewhereIsRememberedByItsNewName) {
    makeRecording(home_ / "C");
    open({home_ / "C"});
    ASSERT_TRUE(untilNames({"C"}));
    EXPECT_EQ(rename(home_ / "C", "D"), home_ / "D");
    EXPECT_EQ(remembered_, Paths{home_ / "D"});
    EXPECT_TRUE(untilNames({"D"}));
}

TEST_F(RecordingLibraryTest, RefusesNamesAndRecordingsInUse) {
    makeRecording(root_ / "A");
    makeRecording(root_ / "B");
    open();
    ASSERT_TRUE(untilNames({"A", "B"}));
    const auto rename = [&](const std::string& name) { return RecordingLibraryTest::rename(root_ / "A", name); };
    const auto trash = [&] { return RecordingLibraryTest::trash({root_ / "A"}).at(0); };
    EXPECT_EQ(rename(" "), "Der Name ist leer.");
    EXPECT_EQ(rename("B"), "Es gibt hier schon etwas mit dem Namen „B“.");
    use_ = RecordingUse::edited;
    EXPECT_EQ(rename("C"), "„A“ ist im Editor geöffnet. Schließe ihn zuerst.");
    EXPECT_EQ(trash(), "„A“ ist im Editor geöffnet. Schließe ihn zuerst.");
    EXPECT_EQ(library_->changeRefusal(root_ / "A"), "„A“ ist im Editor geöffnet. Schließe ihn zuerst.");
    use_ = RecordingUse::rendered;
    EXPECT_EQ(trash(), "„A“ wird gerade gerendert.");
    use_ = RecordingUse::none;
    {
        // Begun a moment ago: the list does not know yet.
        const capture::Journal recorder(root_ / "A");
        EXPECT_EQ(library_->changeRefusal(root_ / "A"), std::nullopt);
        EXPECT_EQ(rename("C"), "„A“ wird gerade aufgenommen.");
        EXPECT_EQ(trash(), "„A“ wird gerade aufgenommen.");
    }
    fs::remove_all(root_ / "A");
    EXPECT_EQ(rename("C"), "„A“ gibt es nicht mehr.");
    EXPECT_EQ(trash(), "„A“ gibt es nicht mehr.");
    EXPECT_FALSE(fs::exists(home_ / "Trash"));
}

TEST_F(RecordingLibraryTest, MovesToTheTrash) {
    makeRecording(root_ / "A");
    makeRecording(root_ / "B");
    makeRecording(root_ / "C");
    open();
    ASSERT_TRUE(untilNames({"A", "B", "C"}));
    const capture::Journal recorder(root_ / "B");
    EXPECT_EQ(trash({root_ / "A", root_ / "B", root_ / "C"}), Names{"„B“ wird gerade aufgenommen."});
    EXPECT_EQ(names(), Names{"B"}) << "before the disk is read again";
    for (const char* name : {"A", "C"}) {
        EXPECT_TRUE(fs::exists(home_ / "Trash/files" / name / "source.mov"));
        EXPECT_TRUE(fs::exists(home_ / "Trash/info" / (std::string(name) + ".trashinfo")));
        EXPECT_FALSE(fs::exists(root_ / name));
    }
    EXPECT_TRUE(fs::exists(root_ / "B/source.mov"));
}

// An answer that has no one to go to any more.
TEST_F(RecordingLibraryTest, EndsWhileItRenames) {
    makeRecording(root_ / "A");
    open();
    ASSERT_TRUE(untilNames({"A"}));
    bool answered = false;
    library_->rename(root_ / "A", "B", [&](const auto&) { answered = true; });
    library_.reset();
    loop_.advance(1);
    EXPECT_FALSE(answered);
    EXPECT_TRUE(fs::exists(root_ / "B")) << "it was awaited";
}

TEST_F(RecordingLibraryTest, EndsWhileItReads) {
    for (int i = 0; i < 12; ++i) makeRealRecording(root_ / std::to_string(i));
    open();
    ASSERT_TRUE(loop_.runUntil([this] { return library_->isRead(); }));
    library_.reset();
    const int before = changes_;
    loop_.advance(1);
    EXPECT_EQ(changes_, before);
}

}  // namespace
}  // namespace lumivastor::app
