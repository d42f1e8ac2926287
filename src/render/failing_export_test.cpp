// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <future>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "media/reading/asset.h"
#include "render/movie_renderer.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

// Exports of what is damaged, missing or in the way, and those that are cancelled.

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

class FailingExport : public ExportFixture {
  protected:
    std::vector<std::string> filesInTheFolder() const {
        std::vector<std::string> names;
        for (const auto& each : fs::directory_iterator(folder_.path())) names.push_back(each.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    // Of a recording without further files, and a film.
    static const std::vector<std::string>& recordingAndFilm() {
        static const std::vector<std::string> names = {"capture.json", "pointer.json", "project.json", "source.mov",
                                                       "studio-output.mp4"};
        return names;
    }
    // Files of this process may not become longer than this. Like a full disk, but without one.
    template <typename Work>
    static void withFileSizeLimit(rlim_t bytes, const Work& work) {
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit unlimited {};
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
        struct rlimit small = unlimited;
        small.rlim_cur = bytes;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        work();
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
        std::signal(SIGXFSZ, previous);
    }
};

TEST_F(FailingExport, NothingLeftIsSaidAndNoFileIsMade) {
    makeRecording(1);
    settings_.cuts = {{0, 0.4}, {0.3, 1}};
    const std::string message = "Es bleibt nichts übrig - alles ist weggeschnitten.";
    EXPECT_EQ(messageOf(), message);
    settings_.cuts.clear();
    info_.duration = 0;
    EXPECT_EQ(messageOf(), message);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
}

TEST_F(FailingExport, DamageInTheMiddleRestartsTheReader) {
    options_.indexFirst = true;
    makeRecording(6);
    damage("source.mov", 0.45, 0.5);
    EXPECT_EQ(render().frames, 180);
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(numbers.size(), 180u);
    int held = 0;
    for (int i = 0; i < 180; ++i) {
        const int number = numbers[static_cast<std::size_t>(i)];
        EXPECT_LE(number, i);
        if (number != i) ++held;
        if (i < 60 || i >= 150) {
            EXPECT_EQ(number, i);
        }
    }
    EXPECT_GT(held, 0);
    EXPECT_LT(held, 60);
    const std::string log = logText();
    EXPECT_GE(count(log, "Videoleser bei "), 1);
    EXPECT_LE(count(log, "Videoleser bei "), 12);
    EXPECT_EQ(count(log, "neu gestartet (Versuch 1) - Grund: Optional(Das Video konnte nicht dekodiert werden: "), 1);
}

TEST_F(FailingExport, DamageAtTheBeginningIsCoveredByTheFirstPictureThatCanBeRead) {
    options_.indexFirst = true;
    makeRecording(6);
    const std::size_t samples = folder_.read("source.mov").find("mdat");
    const double start = static_cast<double>(samples) / static_cast<double>(folder_.read("source.mov").size());
    damage("source.mov", start + 0.001, start + 0.05);
    EXPECT_EQ(render().frames, 180);
    const int restarts = count(logText(), "Videoleser bei ");
    ASSERT_GE(restarts, 2);
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(numbers.size(), 180u);
    for (int frame = 0; frame < 180; ++frame) {
        EXPECT_EQ(numbers[static_cast<std::size_t>(frame)], std::max(frame, 30)) << frame;
    }
}

TEST_F(FailingExport, TheEarlierFilmStaysUntilTheNewOneIsWhole) {
    makeRecording(2);
    folder_.write("studio-output.mp4", "earlier");
    int seen = 0;
    render({}, [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
        if (folder_.read("studio-output.mp4") == "earlier") ++seen;
        return sourceFilling(kSize)(source, webcam, t);
    });
    EXPECT_EQ(seen, 60);
    EXPECT_EQ(exportedNumbers().size(), 60u);
    EXPECT_EQ(filesInTheFolder(), recordingAndFilm());
    // Also where the one before was a link, which stays what it is elsewhere.
    fs::rename(folder_ / "studio-output.mp4", folder_ / "elsewhere");
    fs::create_symlink("elsewhere", folder_ / "studio-output.mp4");
    const std::string before = folder_.read("elsewhere");
    makeRecording(1);
    render();
    EXPECT_FALSE(fs::is_symlink(folder_ / "studio-output.mp4"));
    EXPECT_EQ(folder_.read("elsewhere"), before);
}

TEST_F(FailingExport, WhatGoesWrongLeavesTheEarlierFilmAndNothingElse) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(2);
    open();
    folder_.write("studio-output.mp4", "earlier");
    std::stop_source source;
    RenderOptions options;
    options.stop = source.get_token();
    const auto endingAt = [](double end, const std::function<void()>& how) -> FrameMaker {
        return [=](const imaging::Picture& picture, const std::optional<imaging::Picture>& webcam, double t) {
            if (t > end) how();
            return sourceFilling(kSize)(picture, webcam, t);
        };
    };
    EXPECT_EQ(messageOf({}, endingAt(1, [] { throw RecorderError("Ein Fehler."); })), "Ein Fehler.");
    EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
    EXPECT_EQ(filesInTheFolder(), recordingAndFilm());
    EXPECT_EQ(messageOf(options, endingAt(1.5, [&] { source.request_stop(); })), "Abgebrochen.");
    EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
    EXPECT_EQ(filesInTheFolder(), recordingAndFilm());
}

TEST_F(FailingExport, AskedToStopWithTheLastPictureItIsStillCancelled) {
    makeRecording(1);
    folder_.write("studio-output.mp4", "earlier");
    std::stop_source source;
    RenderOptions options;
    options.stop = source.get_token();
    int frames = 0;
    EXPECT_EQ(messageOf(options,
                        [&](const imaging::Picture& picture, const std::optional<imaging::Picture>& webcam, double t) {
                            if (++frames == 30) source.request_stop();
                            return sourceFilling(kSize)(picture, webcam, t);
                        }),
              "Abgebrochen.");
    EXPECT_EQ(frames, 30);
    EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
}

TEST_F(FailingExport, AFolderInTheFilmsPlaceIsSaidBeforeAnythingIsRendered) {
    makeRecording(1);
    fs::create_directory(folder_ / "studio-output.mp4");
    int frames = 0;
    EXPECT_EQ(messageOf({},
                        [&](const imaging::Picture& picture, const std::optional<imaging::Picture>& webcam, double t) {
                            ++frames;
                            return sourceFilling(kSize)(picture, webcam, t);
                        }),
              "studio-output.mp4 kann nicht ersetzt werden: Ein Ordner steht an der Stelle der Datei.");
    EXPECT_EQ(frames, 0);
    EXPECT_EQ(filesInTheFolder(), recordingAndFilm());
}

TEST_F(FailingExport, AFilmThatGoesElsewhereReplacesNoFileOfTheRecording) {
    makeRecording(1);
    makeWebcam(30, 0);
    const TemporaryFolder elsewhere;
    RenderOptions options;
    options.file = elsewhere / "film.mp4";
    EXPECT_EQ(render(options).url, elsewhere / "film.mp4");
    EXPECT_EQ(media::Asset(elsewhere / "film.mp4").tracks(media::TrackKind::video).at(0).sampleCount, 30);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
    fs::create_directory(folder_ / "cursors");
    for (const fs::path name :
         {"source.mov", "webcam.mov", "capture.json", "pointer.json", "project.json", "journal", "cursors/c0.png"}) {
        options.file = elsewhere / ".." / folder_.path().filename() / name;
        EXPECT_EQ(messageOf(options),
                  name.filename().string() + " gehört zur Aufnahme und wird nicht durch das Video ersetzt.");
    }
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::video).at(0).sampleCount, 30);
}

TEST_F(FailingExport, DamageEverywhereEndsWithTheLastGoodSecond) {
    options_.indexFirst = true;
    makeRecording(12);
    damage("source.mov", 0.22, 1);
    const std::string message = messageOf();
    const std::string log = logText();
    EXPECT_EQ(count(log, "Videoleser bei "), 12) << log;
    EXPECT_EQ(count(log, "(Versuch 12)"), 1);
    EXPECT_TRUE(message == "Das Video lässt sich ab Sekunde 2 nicht mehr dekodieren." ||
                message == "Das Video lässt sich ab Sekunde 3 nicht mehr dekodieren.")
        << message;
}

TEST_F(FailingExport, DamageInTheWebcamCostsItsOwnPicturesOnly) {
    makeRecording(4);
    makeWebcam(120, 0, true);
    damage("webcam.mov", 0.45, 0.55);
    std::vector<bool> hasWebcam;
    render({}, [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
        hasWebcam.push_back(webcam.has_value());
        return sourceFilling(kSize)(source, webcam, t);
    });
    expectCutTimeline(120);
    EXPECT_TRUE(std::all_of(hasWebcam.begin(), hasWebcam.end(), [](bool has) { return has; }));
    EXPECT_GE(count(logText(), "Webcamleser bei "), 1);
    EXPECT_EQ(count(logText(), "Videoleser bei "), 0);
}

TEST_F(FailingExport, ACancelledExportLeavesNoFile) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(6);
    std::stop_source source;
    RenderOptions options;
    options.stop = source.get_token();
    int frames = 0;
    const FrameMaker stopping = [&](const imaging::Picture& picture, const std::optional<imaging::Picture>& webcam,
                                    double t) {
        if (++frames == 45) source.request_stop();
        return sourceFilling(kSize)(picture, webcam, t);
    };
    EXPECT_EQ(messageOf(options, stopping), "Abgebrochen.");
    EXPECT_EQ(frames, 45);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
    // Asked for beforehand it does not even touch the movie of an earlier export.
    folder_.write("studio-output.mp4", "earlier");
    EXPECT_EQ(messageOf(options), "Abgebrochen.");
    EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
}

TEST_F(FailingExport, InTheBackgroundItIsCancelledByItsThread) {
    makeRecording(4);
    const auto composition = open();
    std::promise<std::string> done;
    std::promise<void> begun;
    std::promise<void> asked;
    std::once_flag once;
    auto askedFor = asked.get_future().share();
    std::jthread thread = renderMovie(
        *composition,
        [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
            std::call_once(once, [&] { begun.set_value(); });
            askedFor.wait();
            return sourceFilling(kSize)(source, webcam, t);
        },
        {}, [&](const RenderOutcome& outcome) { done.set_value(std::get<RecorderError>(outcome).message()); });
    begun.get_future().wait();
    thread.request_stop();
    asked.set_value();
    EXPECT_EQ(done.get_future().get(), "Abgebrochen.");
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
}

TEST_F(FailingExport, AnErrorOfTheFrameMakerEndsTheExport) {
    options_.sounds = {{}};
    makeRecording(5);
    EXPECT_EQ(messageOf({},
                        [](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
                            if (t > 1) throw RecorderError("Ein Fehler.");
                            return sourceFilling(kSize)(source, webcam, t);
                        }),
              "Ein Fehler.");
    EXPECT_EQ(messageOf({},
                        [](const imaging::Picture&, const std::optional<imaging::Picture>&,
                           double) -> imaging::Picture { throw std::bad_alloc(); }),
              "Der Arbeitsspeicher reicht nicht.");
}

TEST_F(FailingExport, AReadOnlyFolderIsSaid) {
    makeRecording(1);
    const auto composition = open();
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0555), 0);
    // Root writes anywhere; as nobody, the thread does not.
    constexpr uid_t kNobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    if (isRoot) ::setfsuid(kNobody);
    std::string message;
    try {
        renderMovieSync(*composition, sourceFilling(kSize));
    } catch (const RecorderError& error) {
        message = error.message();
    }
    if (isRoot) ::setfsuid(0);
    ::chmod(folder_.path().c_str(), 0755);
    EXPECT_EQ(message, "studio-output.mp4 konnte nicht angelegt werden: Zugriff verweigert.");
}

TEST_F(FailingExport, AFileThatCannotGrowEndsTheExportWithItsReason) {
    options_.sounds = {{}};
    makeRecording(10);
    open();
    folder_.write("studio-output.mp4", "earlier");
    std::string message;
    withFileSizeLimit(20000, [&] { message = messageOf(); });
    EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
    EXPECT_EQ(filesInTheFolder(), recordingAndFilm());
    EXPECT_TRUE(message.starts_with("studio-output.mp4 konnte nicht geschrieben werden: ")) << message;
}

TEST_F(FailingExport, WhatCannotBeRenderedIsSaid) {
    info_.duration = 1;
    EXPECT_EQ(messageOf(), "source.mov konnte nicht gelesen werden: Datei oder Ordner nicht gefunden.");
    TestMovieOptions soundOnly;
    soundOnly.videoEncoder = "";
    soundOnly.pictures = 0;
    soundOnly.soundSeconds = 1;
    soundOnly.sounds = {{}};
    makeTestMovie(folder_ / "source.mov", soundOnly);
    EXPECT_EQ(messageOf(), "Die Schnittfassung hat keine Videospur.");
    makeRecording(1);
    info_.fps = 0;
    EXPECT_EQ(messageOf(), "Die Bildrate der Aufnahme ist unzulässig: 0.");
}

}  // namespace
}  // namespace lumivastor::render
