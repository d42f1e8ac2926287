// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/command_line.h"

#include <gtest/gtest.h>
#include <simdjson.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "cli/arguments.h"
#include "edit/composition.h"
#include "imaging/png_file.h"
#include "media/reading/asset.h"
#include "support/await.h"
#include "support/one_click_recording.h"
#include "support/outcome.h"
#include "support/program_run.h"
#include "support/small_recording.h"
#include "support/temporary_folder.h"

namespace lumivastor::cli {
namespace {

Outcome run(const std::vector<std::string>& words) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = runCommandLine(words, out, err);
    return {status, out.str(), err.str()};
}

class InspectVerb : public testing::Test {
  protected:
    InspectVerb() {
        oneClickCapture().save(folder_.path());
        model::PointerTrack track = oneClickTrack();
        track.cursorChanges = {{0, "c0"}, {6, "c1"}};
        track.save(folder_.path());
        model::ProjectSettings settings;
        settings.cuts = {{4, 12.5}};
        settings.smoothing = 0;
        settings.save(folder_.path());
    }

    std::string folder() const { return folder_.path().string(); }

    TemporaryFolder folder_;
};

class Json {
  public:
    explicit Json(const std::string& text) : element_(parser_.parse(text)) {}

    double number(const char* pointer) { return element_.at_pointer(pointer).get_double(); }
    std::string text(const char* pointer) {
        return std::string(std::string_view(element_.at_pointer(pointer).get_string()));
    }
    std::size_t count(const char* pointer) {
        return simdjson::dom::array(element_.at_pointer(pointer).get_array()).size();
    }
    bool has(const char* pointer) { return element_.at_pointer(pointer).error() == simdjson::SUCCESS; }

  private:
    simdjson::dom::parser parser_;
    simdjson::dom::element element_;
};

TEST_F(InspectVerb, PrintsOneDocumentWithEverythingDerived) {
    const Outcome outcome = run({"inspect", folder(), "--json", "--at", "5.15,-1,7", "--output-at=1,9"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    Json json(outcome.out);
    EXPECT_EQ(json.number("/capture/duration"), 12.5);
    EXPECT_EQ(json.text("/capture/sourceKind"), "display");
    EXPECT_EQ(json.number("/settings/padding"), 0.055);
    EXPECT_FALSE(json.has("/settings/zooms"));
    EXPECT_EQ(json.number("/effectiveStart"), 0);
    EXPECT_EQ(json.number("/effectiveEnd"), 12.5);
    EXPECT_EQ(json.count("/keptSegments"), 1u);
    EXPECT_EQ(json.number("/keptSegments/0/end"), 4);
    EXPECT_EQ(json.number("/outputDuration"), 4);
    EXPECT_NEAR(json.number("/zoomSpecs/0/start"), 4.45, 1e-12);
    EXPECT_NEAR(json.number("/zoomSpecs/0/focus/0/t"), 5.15, 1e-12);
    EXPECT_EQ(json.number("/zoomSpecs/0/focus/0/x"), 0.25);
    EXPECT_NEAR(json.number("/zoomEvents/0/start"), 4.45, 1e-12);
    EXPECT_EQ(json.number("/zoomEvents/0/end"), 7);
    EXPECT_EQ(json.count("/scaleKeys"), 5u);
    EXPECT_EQ(json.number("/scaleKeys/2/x"), 1.6);
    EXPECT_EQ(json.number("/scaleKeys/2/y"), 0);
    EXPECT_EQ(json.number("/focusKeys/0/x"), 960);
    EXPECT_EQ(json.number("/layout/canvasWidth"), 2560);
    EXPECT_EQ(json.number("/layout/pixelBlock"), 14);
    EXPECT_EQ(json.number("/layout/cropRect/width"), 1920);
    EXPECT_EQ(json.count("/layout/maskRects"), 0u);
    EXPECT_EQ(json.number("/layout/bubbleRect/width"), 0);
    EXPECT_EQ(json.number("/clicks/0/px"), 480);
    EXPECT_EQ(json.count("/samples"), 3u);
    EXPECT_EQ(json.number("/samples/0/camera/scale"), 1.6);
    EXPECT_EQ(json.number("/samples/0/cursor/x"), 480);
    EXPECT_EQ(json.text("/samples/0/cursorID"), "c0");
    EXPECT_EQ(json.text("/samples/1/cursorID"), "c0");
    EXPECT_EQ(json.text("/samples/2/cursorID"), "c1");
    EXPECT_EQ(json.number("/outputTimes/0/source"), 1);
    EXPECT_EQ(json.number("/outputTimes/1/source"), 4);
}

TEST_F(InspectVerb, LeavesOutCursorAndShapeWhereThereAreNone) {
    model::PointerTrack().save(folder_.path());
    Json json(run({"inspect", folder(), "--json", "--at", "1"}).out);
    EXPECT_TRUE(json.has("/samples/0/camera"));
    EXPECT_FALSE(json.has("/samples/0/cursor"));
    EXPECT_FALSE(json.has("/samples/0/cursorID"));
}

TEST_F(InspectVerb, TakesTheCanvasSize) {
    Json json(run({"inspect", "--canvas", "1280x720", folder(), "--json"}).out);
    EXPECT_EQ(json.number("/layout/canvasWidth"), 1280);
    EXPECT_EQ(json.number("/layout/canvasHeight"), 720);
}

TEST_F(InspectVerb, ReportsInGerman) {
    const Outcome outcome = run({"inspect", folder(), "--at", "5.15", "--output-at", "1"});
    EXPECT_EQ(outcome.status, 0);
    for (const char* expected : {"Bildschirm, 1920×1080 Pixel", "Behaltene Abschnitte", "Zooms (Automatik)",
                                 "Zoomverlauf", "Stichproben", "0:05.150  Vergrößerung 1.600", "0:01.000 → 0:01.000"}) {
        EXPECT_NE(outcome.out.find(expected), std::string::npos) << expected << "\n" << outcome.out;
    }
}

TEST_F(InspectVerb, AFailedJobEndsWithItsMessageAndStatusOne) {
    folder_.write("capture.json", "{}");
    const std::string message = "„capture.json“ konnte nicht gelesen werden: Feld „version“ fehlt.";
    const Outcome plain = run({"inspect", folder()});
    EXPECT_EQ(plain.status, 1);
    EXPECT_EQ(plain.out, "");
    EXPECT_EQ(plain.err, message + "\n");
    const Outcome withJson = run({"inspect", folder(), "--json"});
    EXPECT_EQ(withJson.status, 1);
    EXPECT_EQ(withJson.err, message + "\n");
    EXPECT_EQ(Json(withJson.out).text("/error"), message);
}

TEST_F(InspectVerb, AZoomWithoutFocusIsAFailedJobNotACrash) {
    folder_.write("project.json", R"({"zooms": [{"start": 1, "end": 2, "scale": 2, "focus": []}]})");
    const Outcome outcome = run({"inspect", folder(), "--json"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(Json(outcome.out).text("/error"), "Der Zoom bei 1.00 s hat keinen Zielpunkt.");
}

TEST_F(InspectVerb, WrongUsageIsStatusTwo) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {},
             {"inspcet"},
             {"inspect"},
             {"inspect", folder(), "second"},
             {"inspect", folder(), "--jsno"},
             {"inspect", folder(), "--json=1"},
             {"inspect", folder(), "--at"},
             {"inspect", folder(), "--at", "1,,2"},
             {"inspect", folder(), "--at", "1;2"},
             {"inspect", folder(), "--at", "nan"},
             {"inspect", folder(), "--canvas", "0x10"},
             {"inspect", folder(), "--canvas", "10"},
             {"inspect", folder(), "--canvas", "10x10x10"},
             {"inspect", folder(), "--canvas", "99999x10"},
             {"--fast"},
         }) {
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
}

TEST_F(InspectVerb, HelpAndVersionAreAnswersNotErrors) {
    EXPECT_EQ(run({"--version"}).out, "LumiVastor 0.1.0\n");
    EXPECT_EQ(run({"--help"}).status, 0);
    const Outcome help = run({"inspect", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--output-at"), std::string::npos);
}

class FrameVerb : public InspectVerb {
  protected:
    // A plain red screen of the recording's size.
    std::string screen() const {
        imaging::BgraPremultipliedBuffer picture(1920, 1080);
        for (int y = 0; y < 1080; ++y) {
            for (int x = 0; x < 1920; ++x) {
                picture.pixel(x, y)[2] = 200;
                picture.pixel(x, y)[3] = 255;
            }
        }
        imaging::writePng(folder_ / "screen.png", picture);
        return (folder_ / "screen.png").string();
    }
    std::string out() const { return (folder_ / "frame.png").string(); }
};

TEST_F(FrameVerb, ComposesAFrameFromAGivenPictureWithoutAnyMovie) {
    const Outcome outcome =
        run({"frame", folder(), "--at", "1", "--source", screen(), "--canvas", "320x180", "--out", out()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    const auto frame = imaging::readPng(out());
    EXPECT_EQ(frame.width(), 320);
    EXPECT_EQ(frame.height(), 180);
    EXPECT_EQ(frame.pixel(160, 90)[2], 200);
    EXPECT_EQ(frame.pixel(160, 90)[1], 0);
    EXPECT_LT(frame.pixel(2, 2)[2], 100);
}

TEST_F(FrameVerb, WithoutTheMovieItNeedsItFails) {
    const Outcome outcome = run({"frame", folder(), "--at", "1", "--out", out()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("source.mov"), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(out()));
}

TEST_F(FrameVerb, AFolderThatCannotBeWrittenIsAFailedJob) {
    const Outcome outcome = run({"frame", folder(), "--at", "1", "--source", screen(), "--out", "/nowhere/frame.png"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("konnte nicht geschrieben werden"), std::string::npos) << outcome.err;
}

TEST_F(FrameVerb, WrongUsageIsStatusTwo) {
    EXPECT_EQ(run({"frame", folder(), "--out", out()}).status, 2);
    EXPECT_EQ(run({"frame", folder(), "--at", "1"}).status, 2);
    EXPECT_EQ(run({"frame", folder(), "--at", "1,2", "--out", out()}).status, 2);
}

class RenderVerb : public testing::Test {
  protected:
    RenderVerb() { makeSmallRecording(folder_.path(), 30, 72); }

    TemporaryFolder folder_;
};

TEST_F(RenderVerb, WritesTheStudioMovieAndTellsOfIt) {
    const Outcome outcome = run({"render", folder_.path().string(), "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    Json json(outcome.out);
    EXPECT_EQ(json.text("/url"), (folder_ / "studio-output.mp4").string());
    EXPECT_EQ(json.number("/frames"), 30);
    EXPECT_EQ(json.number("/seconds"), 1);
    EXPECT_EQ(json.number("/zoomCount"), 0);
    const media::Asset movie(folder_ / "studio-output.mp4");
    ASSERT_EQ(movie.tracks().size(), 2u);
    EXPECT_EQ(movie.tracks(media::TrackKind::video)[0].width, 128);
    EXPECT_EQ(movie.tracks(media::TrackKind::video)[0].height, 72);
}

TEST_F(RenderVerb, TellsWhatItTookFromAnEarlierFilm) {
    const auto reused = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"render", folder_.path().string(), "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Json(run(arguments).out).number("/reusedFrames");
    };
    EXPECT_EQ(reused({}), 0);
    EXPECT_EQ(reused({}), 30);
    EXPECT_EQ(reused({"--fresh"}), 0);
    EXPECT_EQ(reused({"--format", "mov"}), 30) << "another container, the same pictures";
    EXPECT_EQ(reused({"--out", (folder_ / "elsewhere.mp4").string()}), 30);
    EXPECT_EQ(reused({"--height", "1080"}), 0);
}

TEST_F(RenderVerb, HeightAndFormatOverrideTheDocumentWithoutChangingIt) {
    const std::string before = folder_.read("project.json");
    const Outcome outcome = run({"render", folder_.path().string(), "--height", "1080", "--format", "mov"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Fertig: 1.0 s, 0 Zooms – " + (folder_ / "studio-output.mov").string() + "\n");
    EXPECT_EQ(media::Asset(folder_ / "studio-output.mov").tracks(media::TrackKind::video)[0].height, 1080);
    EXPECT_EQ(folder_.read("project.json"), before);
}

TEST_F(RenderVerb, TheFilmMayGoElsewhereAndItsNameSaysTheFormat) {
    const TemporaryFolder elsewhere;
    const std::string film = (elsewhere / "film.mov").string();
    const Outcome outcome = run({"render", folder_.path().string(), "--out", film, "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(Json(outcome.out).text("/url"), film);
    EXPECT_EQ(media::Asset(film).tracks().size(), 2u);
    EXPECT_EQ(elsewhere.read("film.mov").substr(4, 8), "ftypqt  ");
    const std::string other = (elsewhere / "film").string();
    EXPECT_EQ(run({"render", folder_.path().string(), "--out", other}).status, 0);
    EXPECT_NE(elsewhere.read("film").substr(4, 8), "ftypqt  ") << "as the project says";
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mov"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mp4"));
    EXPECT_EQ(run({"render", folder_.path().string(), "--out", folder_.path().string()}).status, 1);
}

TEST_F(RenderVerb, HoweverItEndsOnTheWayTheEarlierFilmStays) {
    folder_.write("studio-output.mp4", "earlier");
    const auto hiddenFiles = [this] {
        const std::filesystem::directory_iterator all(folder_.path());
        return std::count_if(begin(all), end(all), [](const auto& each) {
            return each.path().filename().string().starts_with(".lumivastor-export-");
        });
    };
    // The largest film, so that there is time.
    const std::vector<std::string> words = {LUMI_PROGRAM, "render", folder_.path().string(), "--height", "2160"};
    for (const int signal : {SIGTERM, SIGKILL}) {
        ProgramRun program(words, {});
        ASSERT_TRUE(await([&] { return hiddenFiles() > 0 || !program.isRunning(); }));
        program.signal(signal);
        EXPECT_EQ(program.wait(), signal == SIGTERM ? 1 : -SIGKILL);
        EXPECT_EQ(program.err(), signal == SIGTERM ? "Abgebrochen.\n" : "");
        EXPECT_EQ(folder_.read("studio-output.mp4"), "earlier");
        EXPECT_EQ(hiddenFiles(), signal == SIGTERM ? 0 : 1);
    }
    ASSERT_EQ(run({"render", folder_.path().string()}).status, 0);
    EXPECT_EQ(hiddenFiles(), 0) << "the next export removes what the killed one left";
    EXPECT_EQ(media::Asset(folder_ / "studio-output.mp4").tracks().size(), 2u);
}

TEST_F(RenderVerb, FailuresAreTheRenderersSentences) {
    model::ProjectSettings settings;
    settings.cuts = {{0, 1}};
    settings.save(folder_.path());
    const Outcome cut = run({"render", folder_.path().string(), "--json"});
    EXPECT_EQ(cut.status, 1);
    EXPECT_EQ(Json(cut.out).text("/error"), "Es bleibt nichts übrig - alles ist weggeschnitten.");
    settings.exportHeight = 1;
    settings.save(folder_.path());
    EXPECT_EQ(run({"render", folder_.path().string()}).err, "Die Höhe des Videos ist unzulässig: 1.\n");
}

TEST_F(RenderVerb, TheCheckVideoIsWrittenToo) {
    const Outcome outcome = run({"check", folder_.path().string(), "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    Json json(outcome.out);
    EXPECT_EQ(json.text("/url"), (folder_ / "test-output.mov").string());
    EXPECT_EQ(json.number("/frames"), 30);
    EXPECT_NEAR(json.number("/seconds"), 29.0 / 30, 0.01);
    const media::Asset movie(folder_ / "test-output.mov");
    EXPECT_EQ(movie.tracks(media::TrackKind::video)[0].width, 128);
    EXPECT_EQ(movie.tracks(media::TrackKind::audio).size(), 1u);
    std::filesystem::remove(folder_ / "source.mov");
    const Outcome missing = run({"check", folder_.path().string()});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err, "");
}

TEST_F(RenderVerb, WrongUsageIsStatusTwo) {
    EXPECT_EQ(run({"render"}).status, 2);
    EXPECT_EQ(run({"render", folder_.path().string(), "--height", "720"}).status, 2);
    EXPECT_EQ(run({"render", folder_.path().string(), "--format", "avi"}).status, 2);
    const std::vector<std::vector<std::string>> wrong = {
        {"--as", "avi"},
        {"--as", "mp4"},
        {"--as", "webm", "--format", "mp4"},
        {"--as", "webm", "--width", "640"},
        {"--width", "640"},
        {"--rate", "15", "--out", "film.mp4"},
        {"--as", "gif", "--width", "63"},
        {"--as", "gif", "--width", "640.5"},
        {"--as", "gif", "--width", "breit"},
        {"--as", "gif", "--rate", "0"},
        {"--as", "gif", "--rate", "51"},
        {"--as", "gif", "--from", "-1"},
        {"--as", "gif", "--from", "nan"},
        {"--as", "gif", "--from", "2", "--to", "2"},
        {"--as", "webp", "--from", "2", "--to", "33"},
    };
    for (const std::vector<std::string>& options : wrong) {
        std::vector<std::string> words{"render", folder_.path().string()};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(run(words).status, 2) << options.back();
    }
    const Outcome hint = run({"render", folder_.path().string(), "--as", "mp4"});
    EXPECT_NE(hint.err.find("--as ist webm, webp oder gif; für mp4 und mov gibt es --format."), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.gif"));
}

TEST_F(RenderVerb, OtherFormsGoBesideTheFilmOrWhereTheyAreAskedFor) {
    const std::string before = folder_.read("project.json");
    const Outcome webm = run({"render", folder_.path().string(), "--as", "webm", "--json"});
    ASSERT_EQ(webm.status, 0) << webm.err;
    EXPECT_EQ(Json(webm.out).text("/url"), (folder_ / "studio-output.webm").string());
    EXPECT_EQ(Json(webm.out).number("/frames"), 30);
    EXPECT_EQ(Json(webm.out).number("/zoomCount"), 0);
    EXPECT_EQ(folder_.read("studio-output.webm").substr(0, 4), "\x1A\x45\xDF\xA3");
    const TemporaryFolder elsewhere;
    const std::string gif = (elsewhere / "film.gif").string();
    const Outcome named = run(
        {"render", folder_.path().string(), "--out", gif, "--width", "96", "--rate", "10", "--to", "0.5", "--json"});
    ASSERT_EQ(named.status, 0) << named.err;
    EXPECT_EQ(Json(named.out).text("/url"), gif);
    EXPECT_EQ(Json(named.out).number("/seconds"), 0.5);
    EXPECT_EQ(elsewhere.read("film.gif").substr(0, 6), "GIF89a");
    const Outcome webp = run({"render", folder_.path().string(), "--as", "webp", "--width", "96"});
    ASSERT_EQ(webp.status, 0) << webp.err;
    EXPECT_EQ(folder_.read("studio-output.webp").substr(8, 4), "WEBP");
    EXPECT_EQ(folder_.read("project.json"), before);
}

TEST(Arguments, ADoubleDashEndsTheOptions) {
    const Arguments arguments(std::vector<std::string>{"--", "--json"}, {});
    EXPECT_EQ(arguments.positional(), std::vector<std::string>{"--json"});
}

TEST(Arguments, NumbersAreReadExactly) {
    EXPECT_EQ(parseNumber("0.1"), 0.1);
    EXPECT_EQ(parseNumber("-1e3"), -1000);
    for (const char* wrong : {"", "1,5", "1 ", " 1", "0x10", "inf", "1e999"})
        EXPECT_EQ(parseNumber(wrong), std::nullopt);
}

TEST(CommandLine, WithoutAVerbItIsTheApplications) {
    const auto starts = [](const std::vector<std::string>& words) { return startsApplication(words); };
    EXPECT_TRUE(starts({}));
    EXPECT_TRUE(starts({"--open-editor", "folder"}));
    EXPECT_TRUE(starts({"--open-editor"}));
    EXPECT_TRUE(starts({"--choose-recording"}));
    EXPECT_TRUE(starts({"--test-region"}));
    for (const char* word : {"--help", "--version", "inspect", "unknown", "--unknown", ""})
        EXPECT_FALSE(starts({word}));
}

}  // namespace
}  // namespace lumivastor::cli
