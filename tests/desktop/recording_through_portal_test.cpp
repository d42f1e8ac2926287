// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself, with a portal and a screen that the tests work by hand.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/geometry.h"
#include "base/host_clock.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "support/await.h"
#include "support/portal_standin.h"
#include "support/program_run.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

std::uint32_t grey(int level) {
    return static_cast<std::uint32_t>(level) * 0x010101U;
}

ScreenSource::Picture pictureOf(int level) {
    ScreenSource::Picture picture;
    picture.colour = grey(level);
    return picture;
}

// How long what was sent may take to be recorded on a busy machine.
constexpr double kSettled = 0.3;

void sleepFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

class RecordingThroughPortal : public testing::Test {
  protected:
    struct Shown {
        double hostSeconds = 0;
        PixelSize size;
        std::vector<int> levels;  // at the places that were asked for
    };

    void openPortal(const PortalStandin::Options& options = {}) {
        portal_ = std::make_unique<PortalStandin>(bus_.address(), pipeWire_.remote(), options);
    }

    std::map<std::string, std::string> environment() const {
        auto environment = pipeWire_.environment();
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
        environment["LUMIVASTOR_DESKTOP"] = "wayland";
        environment["XDG_CURRENT_DESKTOP"] = "KDE";
        environment["XDG_CONFIG_HOME"] = (temporary_ / "config").string();
        environment["PULSE_SERVER"] = pipeWire_.pulseAddress();
        environment["WAYLAND_DISPLAY"] = "";
        environment["DISPLAY"] = "";
        return environment;
    }

    Outcome run(const std::vector<std::string>& words) const {
        std::vector<std::string> command{LUMI_PROGRAM};
        command.insert(command.end(), words.begin(), words.end());
        ProgramRun program(command, environment());
        const int status = program.wait();
        return {status, program.out(), program.err()};
    }
    Outcome record() const { return run({"record", "--out", folder_.string()}); }

    std::vector<std::string> recordWords(const std::vector<std::string>& options) const {
        std::vector<std::string> words{LUMI_PROGRAM, "record", "--json", "--out", folder_.string()};
        words.insert(words.end(), options.begin(), options.end());
        return words;
    }

    // Until the movie has begun with this picture.
    void begin(const ScreenSource::Picture& first, const std::vector<std::string>& options = {}) {
        program_ = std::make_unique<ProgramRun>(recordWords(options), environment());
        double next = 0;
        const bool began = await(
            kPatience, [&] { return !program_->isRunning() || hasBegun(); },
            [&] {
                const auto screen = portal_->screen();
                if (screen && hostClockSeconds() >= next && screen->send(first)) next = hostClockSeconds() + 0.1;
                sleepFor(0.005);
            });
        ASSERT_TRUE(began && program_->isRunning()) << program_->err();
    }
    bool hasBegun() const {
        return std::filesystem::exists(folder_ / "journal") &&
               readText(folder_ / "journal").find(" session ") != std::string::npos;
    }
    // Until a buffer is free.
    void send(const ScreenSource::Picture& picture) {
        EXPECT_TRUE(await([&] { return portal_->screen()->send(picture); }));
    }
    // So that it is certainly recorded: the server loses a buffer that another one follows before it is received.
    void show(const ScreenSource::Picture& picture) {
        for (int i = 0; i < 6; ++i) {
            send(picture);
            sleepFor(0.04);
        }
    }
    void stop() {
        program_->signal(SIGINT);
        EXPECT_EQ(program_->wait(), 0) << program_->err();
    }

    model::CaptureInfo info() const { return model::CaptureInfo::load(folder_); }

    // The movie's pictures in order.
    std::vector<Shown> movie(const std::vector<Point>& places) const {
        const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
        EXPECT_FALSE(asset->isFragmented());
        media::AssetReader reader(asset);
        auto& output = reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id,
                                             media::PictureFormat::bgraPremultiplied);
        EXPECT_TRUE(reader.startReading());
        std::vector<Shown> all;
        while (const auto sample = output.copyNextSample()) {
            Shown shown;
            shown.hostSeconds = info().t0HostClock + sample->presentationTime.seconds();
            const auto& picture = sample->bgra();
            shown.size = {picture.width(), picture.height()};
            for (const Point& place : places) {
                shown.levels.push_back(picture.pixel(static_cast<int>(place.x), static_cast<int>(place.y))[1]);
            }
            all.push_back(shown);
        }
        EXPECT_EQ(reader.status(), media::AssetReader::Status::completed);
        EXPECT_FALSE(all.empty());
        return all;
    }

    void expectAFinishedFolder() const {
        EXPECT_TRUE(std::filesystem::exists(folder_ / "capture.json"));
        EXPECT_TRUE(std::filesystem::exists(folder_ / "pointer.json"));
        EXPECT_FALSE(std::filesystem::exists(folder_ / "journal"));
        const auto pictures = movie({});
        EXPECT_EQ(static_cast<std::int64_t>(pictures.size()), info().framesWritten);
        EXPECT_NEAR(pictures.back().hostSeconds - pictures.front().hostSeconds, info().duration, 0.001);
        EXPECT_EQ(pictures.front().size.width, info().pixelWidth);
        EXPECT_EQ(pictures.front().size.height, info().pixelHeight);
    }

    PipeWireRig pipeWire_;
    BusRig bus_;
    std::unique_ptr<PortalStandin> portal_;
    TemporaryFolder temporary_;
    const std::filesystem::path folder_ = temporary_ / "recording";
    std::unique_ptr<ProgramRun> program_;
};

TEST_F(RecordingThroughPortal, StopSharingEndsAFinishedRecording) {
    openPortal();
    begin(pictureOf(50));
    portal_->screen()->play(0x500000, 60);
    sleepFor(0.5);
    portal_->stopSharing();
    EXPECT_EQ(program_->wait(), 0) << program_->err();
    EXPECT_NE(program_->out().find(R"("endedEarly" : "Die Freigabe des Bildschirms wurde beendet.")"),
              std::string::npos)
        << program_->out();
    expectAFinishedFolder();
    EXPECT_GT(info().framesWritten, 10);
    EXPECT_EQ(portal_->sessions(), 0);
}

TEST_F(RecordingThroughPortal, ARefusedDialogLeavesOneSentenceAndNoFolder) {
    PortalStandin::Options options;
    options.answer = PortalStandin::Answer::refuse;
    openPortal(options);
    const Outcome refused = record();
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "Die Aufnahme wurde im Dialog abgelehnt.\n");
    portal_->answer(PortalStandin::Answer::fail);
    const Outcome failed = record();
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.err, "Der Desktop konnte die Aufnahme nicht freigeben.\n");
    EXPECT_FALSE(std::filesystem::exists(folder_));
    EXPECT_TRUE(await([&] { return portal_->sessions() == 0; }));
}

TEST_F(RecordingThroughPortal, WithoutAPortalTheSentenceNamesThePackage) {
    const double begin = hostClockSeconds();
    const Outcome result = record();
    EXPECT_LT(hostClockSeconds() - begin, 2);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "Dieser Desktop bietet keine Bildschirmfreigabe an. Es fehlt ein Portal, zum Beispiel das Paket "
              "xdg-desktop-portal-kde.\n");
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(RecordingThroughPortal, ASignalClosesTheDialog) {
    PortalStandin::Options options;
    options.answer = PortalStandin::Answer::none;
    openPortal(options);
    program_ = std::make_unique<ProgramRun>(recordWords({}), environment());
    ASSERT_TRUE(await([&] { return portal_->openDialogs() == 1; }));
    program_->signal(SIGINT);
    EXPECT_EQ(program_->wait(), 1);
    EXPECT_TRUE(await([&] { return portal_->closedDialogs() == 1; }));
    EXPECT_FALSE(std::filesystem::exists(folder_));
}

// The pointer walks in a circle, sixty steps a second, and changes its shape.
TEST_F(RecordingThroughPortal, EveryPositionAndShapeOfThePointerIsRecorded) {
    openPortal();
    begin(pictureOf(50));
    const auto screen = portal_->screen();
    const double started = hostClockSeconds();
    int step = 0;
    const auto walk = [&](int steps) {
        for (int i = 0; i < steps; ++i, ++step) {
            while (hostClockSeconds() < started + step / 60.0) sleepFor(0.0005);
            const double angle = step / 40.0;
            screen->movePointer(static_cast<int>(std::lround(160 + 90 * std::cos(angle))),
                                static_cast<int>(std::lround(100 + 70 * std::sin(angle))));
        }
    };
    walk(1);
    screen->setShape(24, 20, 3, 4, 0x2040ff);
    walk(20);
    screen->setShape(16, 16, 8, 9, 0xff4020);
    walk(20);
    const double hiddenFrom = hostClockSeconds();
    screen->hideShape();
    walk(20);
    const double hiddenUntil = hostClockSeconds();
    screen->setShape(24, 20, 3, 4, 0x2040ff);
    walk(20);
    sleepFor(kSettled);
    const auto sent = screen->sent();
    stop();

    const auto track = model::PointerTrack::load(folder_);
    const double t0 = info().t0HostClock;
    std::vector<ScreenSource::Sent> log;
    for (const auto& one : sent) {
        if (one.kind == ScreenSource::Sent::Kind::cursor) log.push_back(one);
    }
    ASSERT_GE(log.size(), 80U);
    // Each event has its report, and each report its event, except where PipeWire replaced a buffer that this process
    // was too busy to take with the next.
    double latest = 0;
    std::size_t events = 0;
    std::size_t replaced = 0;
    for (const model::PointerSample& event : track.events) {
        if (t0 + event.t < log.front().hostSeconds) continue;
        ++events;
        EXPECT_EQ(event.kind, model::PointerKind::move);
        const auto isItsReport = [&](const ScreenSource::Sent& one) {
            return std::abs(one.x - event.px) <= 1 && std::abs(one.y - event.py) <= 1 &&
                   std::abs(t0 + event.t - one.hostSeconds) <= 0.02;
        };
        EXPECT_TRUE(std::any_of(log.begin(), log.end(), isItsReport))
            << event.px << ", " << event.py << " at " << event.t;
    }
    for (const ScreenSource::Sent& one : log) {
        double best = 1;
        for (const model::PointerSample& event : track.events) {
            if (std::abs(one.x - event.px) <= 1 && std::abs(one.y - event.py) <= 1) {
                best = std::min(best, std::abs(t0 + event.t - one.hostSeconds));
            }
        }
        if (best == 1) {
            ++replaced;
            continue;
        }
        latest = std::max(latest, best);
        EXPECT_LE(best, 0.02) << one.x << ", " << one.y;
    }
    EXPECT_LE(replaced, log.size() / 20);
    std::cout << log.size() << " reports, " << events << " events, at most " << latest * 1000 << " ms apart\n";

    // Two shapes; a report without one has a hot spot of 0, 0, which means nothing.
    std::map<std::string, model::CursorImage> shapes;
    for (const auto& image : track.cursorImages) {
        if (image.visible) shapes[image.id] = image;
    }
    ASSERT_EQ(shapes.size(), 2U);
    const double scale = info().pointPixelScale;
    EXPECT_EQ(scale, 2);
    const model::CursorImage first = shapes.at("c0");
    EXPECT_EQ(first.width * scale, 24);
    EXPECT_EQ(first.height * scale, 20);
    EXPECT_EQ(first.hotspotX * scale, 3);
    EXPECT_EQ(first.hotspotY * scale, 4);
    const model::CursorImage second = shapes.at("c1");
    EXPECT_EQ(second.width * scale, 16);
    EXPECT_EQ(second.hotspotX * scale, 8);
    EXPECT_EQ(second.hotspotY * scale, 9);
    for (const auto& [id, image] : shapes) EXPECT_TRUE(std::filesystem::exists(folder_ / image.file)) << id;
    // The hidden interval, as far as the polls of thirty a second tell.
    std::vector<std::string> ids;
    for (const model::CursorChange& change : track.cursorChanges) {
        if (t0 + change.t < started) continue;
        ids.push_back(change.id);
        if (ids.size() < 3) continue;
        EXPECT_NEAR(t0 + change.t, change.id == "hidden" ? hiddenFrom : hiddenUntil, 0.1);
    }
    EXPECT_EQ(ids, (std::vector<std::string>{"c0", "c1", "hidden", "c0"}));
}

TEST_F(RecordingThroughPortal, ARegionsPointerIsRelativeToIt) {
    openPortal();
    // In points, of which each has two pixels.
    begin(pictureOf(50), {"--region", "20,10,60,40"});
    const auto screen = portal_->screen();
    ScreenSource::Picture mark = pictureOf(200);
    mark.damage = std::vector<PixelRect>{{100, 60, 20, 20}};
    show(mark);
    EXPECT_TRUE(await([&] { return screen->movePointer(110, 70); }));
    sleepFor(kSettled);
    stop();
    EXPECT_EQ(info().sourceKind, "region");
    EXPECT_EQ(info().displayX, 1280);
    EXPECT_EQ(info().displayY, -20);
    EXPECT_EQ(info().displayWidth, 160);
    EXPECT_EQ(info().contentX, 20);
    EXPECT_EQ(info().pixelWidth, 120);
    EXPECT_EQ(info().pixelHeight, 80);
    const auto track = model::PointerTrack::load(folder_);
    EXPECT_EQ(track.events.back().px, 70);
    EXPECT_EQ(track.events.back().py, 50);
    // There is the mark in the picture.
    const Shown last = movie({{70, 50}, {50, 50}}).back();
    EXPECT_NEAR(last.levels[0], 200, 4);
    EXPECT_NEAR(last.levels[1], 50, 4);
}

TEST_F(RecordingThroughPortal, BadPicturesAndThePointersBuffersShowNothing) {
    openPortal();
    begin(pictureOf(20));
    const auto screen = portal_->screen();
    for (int level = 30; level <= 190; level += 10) {
        send(pictureOf(level));
        sleepFor(0.008);
        for (int i = 0; i < 3; ++i) {
            screen->movePointer(level + i, 50);
            sleepFor(0.008);
        }
        ScreenSource::Picture corrupt = pictureOf(255);
        corrupt.isCorrupt = true;
        send(corrupt);
        sleepFor(0.008);
    }
    show(pictureOf(200));
    stop();
    // A white picture, or one of a buffer's earlier pictures, would break the order.
    int last = 0;
    for (const Shown& shown : movie({{5, 5}, {310, 190}})) {
        EXPECT_NEAR(shown.levels[0], shown.levels[1], 4);
        EXPECT_GE(shown.levels[0], last - 3);
        EXPECT_LE(shown.levels[0], 205);
        last = std::max(last, shown.levels[0]);
    }
    EXPECT_NEAR(last, 200, 4);
}

TEST_F(RecordingThroughPortal, MemoryThatTheDesktopShrinksEndsNothing) {
    PortalStandin::Options options;
    options.screen.ownsMemory = true;
    openPortal(options);
    begin(pictureOf(60));
    for (int i = 0; i < 10; ++i) {
        ScreenSource::Picture shrunk = pictureOf(250);
        shrunk.keptBytes = 4096;
        send(shrunk);
        sleepFor(0.03);
    }
    show(pictureOf(120));
    stop();
    expectAFinishedFolder();
    int last = 0;
    for (const Shown& shown : movie({{5, 5}, {310, 190}})) {
        last = shown.levels[0];
        EXPECT_NEAR(shown.levels[1], last, 4);
        EXPECT_LT(last, 125);
    }
    EXPECT_NEAR(last, 120, 4);
}

TEST_F(RecordingThroughPortal, WithoutMetadataThePointerIsInThePictures) {
    PortalStandin::Options options;
    options.cursorModes = 3;
    openPortal(options);
    begin(pictureOf(50));
    EXPECT_EQ(portal_->lastCall("SelectSources").options.at("cursor_mode"), "2");
    portal_->screen()->movePointer(20, 20);
    sleepFor(kSettled);
    stop();
    EXPECT_TRUE(
        program_->err().starts_with("Dieser Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild.\n"))
        << program_->err();
    expectAFinishedFolder();
    const auto track = model::PointerTrack::load(folder_);
    EXPECT_TRUE(std::none_of(track.cursorImages.begin(), track.cursorImages.end(),
                             [](const model::CursorImage& image) { return image.visible; }));
}

TEST_F(RecordingThroughPortal, TheLastChoiceIsGrantedAgainWithoutADialog) {
    openPortal();
    const auto recordOnce = [&](const std::vector<std::string>& options) {
        std::filesystem::remove_all(folder_);
        begin(pictureOf(50), options);
        stop();
    };
    const auto passed = [&] {
        const auto options = portal_->lastCall("SelectSources").options;
        return options.contains("restore_token") ? options.at("restore_token") : "none";
    };
    const auto selections = [&] {
        const auto calls = portal_->calls();
        return std::count_if(calls.begin(), calls.end(),
                             [](const auto& call) { return call.method == "SelectSources"; });
    };
    recordOnce({});
    EXPECT_EQ(passed(), "none");
    const std::string token = portal_->lastToken();
    recordOnce({});
    EXPECT_EQ(passed(), token);
    EXPECT_NE(portal_->lastToken(), token);
    recordOnce({"--ask"});
    EXPECT_EQ(passed(), "none");

    // Whatever is in the store, at worst the dialog comes.
    const auto store = temporary_ / "config/LumiVastor/portal.json";
    std::string text = readText(store);
    ASSERT_NE(text.find(portal_->lastToken()), std::string::npos) << text;
    text.replace(text.find(portal_->lastToken()), portal_->lastToken().size(), "no token at all");
    temporary_.write("config/LumiVastor/portal.json", text);
    const auto before = selections();
    recordOnce({});
    EXPECT_EQ(selections(), before + 2) << "with the token, then without";
    EXPECT_EQ(passed(), "none");
    temporary_.write("config/LumiVastor/portal.json", "{\"display\": [");
    recordOnce({});
    EXPECT_EQ(selections(), before + 3);
    EXPECT_NE(readText(store).find(portal_->lastToken()), std::string::npos) << "the file is whole again";
}

// As desktops do it that send a window in a buffer of the screen's size.
TEST_F(RecordingThroughPortal, AWindowIsRecordedAtTheSizeOfItsCrop) {
    openPortal();
    const auto window = [](int level, int width, int height) {
        ScreenSource::Picture picture = pictureOf(level);
        picture.crop = PixelRect{40, 20, width, height};
        picture.damage = std::vector<PixelRect>{{40, 20, width, height}};
        return picture;
    };
    begin(window(60, 200, 120), {"--window", "0"});
    EXPECT_EQ(portal_->lastCall("SelectSources").options.at("types"), "2");
    show(window(100, 280, 180));  // grows: what does not fit is cut off
    show(window(140, 100, 60));   // shrinks: beyond it is black, nothing of before
    show(window(180, 200, 120));
    stop();
    expectAFinishedFolder();
    EXPECT_EQ(program_->err().find("behält ihre Größe"), std::string::npos) << program_->err();
    EXPECT_EQ(info().sourceKind, "window");
    EXPECT_EQ(info().pixelWidth, 200);
    EXPECT_EQ(info().pixelHeight, 120);
    // Inside of the smallest window, and beyond it.
    const std::vector<std::pair<int, int>> expected{{60, 60}, {100, 100}, {140, 0}, {180, 180}};
    std::size_t at = 0;
    for (const Shown& shown : movie({{10, 10}, {95, 55}, {110, 10}, {10, 70}, {195, 115}})) {
        while (at < expected.size() && std::abs(shown.levels[0] - expected[at].first) > 5) ++at;
        ASSERT_LT(at, expected.size()) << shown.levels[0];
        EXPECT_NEAR(shown.levels[1], expected[at].first, 5);
        for (std::size_t i = 2; i < shown.levels.size(); ++i) EXPECT_NEAR(shown.levels[i], expected[at].second, 5);
    }
    EXPECT_EQ(at, expected.size() - 1);
}

TEST_F(RecordingThroughPortal, AnotherFormatKeepsTheMoviesSize) {
    openPortal();
    begin(pictureOf(60));
    const auto resize = [&](PixelSize size, int level) {
        portal_->screen()->resize(size);
        // While both sides agree, a picture may be lost.
        for (int i = 0; i < 6; ++i) {
            portal_->screen()->send(pictureOf(level));
            sleepFor(0.05);
        }
    };
    resize({400, 260}, 100);
    resize({160, 100}, 140);
    resize({320, 200}, 180);
    stop();
    expectAFinishedFolder();
    EXPECT_EQ(info().pixelWidth, 320);
    EXPECT_EQ(info().pixelHeight, 200);
    const std::vector<std::pair<int, int>> expected{{60, 60}, {100, 100}, {140, 0}, {180, 180}};
    std::size_t at = 0;
    for (const Shown& shown : movie({{10, 10}, {170, 10}, {310, 190}})) {
        while (at < expected.size() && std::abs(shown.levels[0] - expected[at].first) > 5) ++at;
        ASSERT_LT(at, expected.size()) << shown.levels[0];
        EXPECT_NEAR(shown.levels[1], expected[at].second, 5);
        EXPECT_NEAR(shown.levels[2], expected[at].second, 5);
    }
    EXPECT_EQ(at, expected.size() - 1);
    EXPECT_NE(program_->err().find(
                  "Der aufgenommene Bildschirm ist jetzt 160 × 100 Pixel groß; die Aufnahme behält ihre Größe."),
              std::string::npos)
        << program_->err();
}

TEST_F(RecordingThroughPortal, DoctorSaysWhatThePortalOffers) {
    openPortal();
    const Outcome rich = run({"doctor"});
    EXPECT_NE(rich.out.find("✓ Der Desktop meldet, wo der Mauszeiger ist"), std::string::npos) << rich.out;
    EXPECT_NE(rich.out.find("✓ Der Desktop gibt Programmen Tastenkürzel;"), std::string::npos) << rich.out;
    portal_.reset();
    PortalStandin::Options options;
    options.cursorModes = 3;
    options.shortcutsVersion = 0;
    openPortal(options);
    const Outcome poor = run({"doctor"});
    EXPECT_NE(poor.out.find("– Der Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild."),
              std::string::npos)
        << poor.out;
    EXPECT_NE(poor.out.find("– Dieser Desktop gibt Programmen keine Tastenkürzel. Richte in seinen Einstellungen eines "
                            "für „lumivastor stop“ ein."),
              std::string::npos)
        << poor.out;
}

}  // namespace
}  // namespace lumivastor
