// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/wayland_desktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "support/await.h"
#include "support/desktop_rig/capture_setup.h"
#include "support/wayland_rig/coded_window.h"
#include "support/wayland_rig/sway_rig.h"

// Whole ways on a real compositor and its portal.

namespace lumivastor::wayland {
namespace {

std::unique_ptr<platform::Desktop> openOn(const SwayRig& rig) {
    return openWaylandDesktop(nullptr, {rig.busAddress(), rig.display(), {}});
}

// On a busy machine the portal fails now and then; as a person would, this asks once more.
platform::Display pickDisplay(platform::Desktop& desktop) {
    const auto pick = [&] { return std::get<platform::Display>(desktop.contentPicker()->pick({}, {}).value()); };
    try {
        return pick();
    } catch (const RecorderError& error) {
        std::printf("asked again, because: %s\n", error.message().c_str());
        return pick();
    }
}

TEST(WaylandDesktop, RecordsWhatIsDrawn) {
    const SwayRig rig;
    CodedWindow window(rig.display());
    window.show(1);
    const auto desktop = openOn(rig);
    EXPECT_TRUE(desktop->shareableContent().displays.empty());
    const auto offer = desktop->contentPicker()->offer();
    EXPECT_TRUE(offer.displays);
    EXPECT_EQ(offer.pointer, platform::PointerKnowledge::embedded);
    const platform::Display display = pickDisplay(*desktop);
    EXPECT_EQ(display.name, "HEADLESS-1");
    EXPECT_EQ(display.frame, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ(display.scale, 1);
    ASSERT_EQ(desktop->shareableContent().displays.size(), 1u);
    RunningCapture capture(*desktop, platform::DisplayFilter{display, {}});
    for (std::uint16_t number = 2; number < 12; ++number) {
        const double drawn = window.show(number);
        EXPECT_TRUE(capture.samples().waitForPicture([&](const auto& picture) { return codeAt(picture) == number; }))
            << number << " drawn at " << drawn;
    }
}

TEST(WaylandDesktop, PicturesCarryTheTimesAtWhichTheyWereShown) {
    const SwayRig rig;
    CodedWindow window(rig.display());
    window.show(1);
    const auto desktop = openOn(rig);
    const platform::Display display = pickDisplay(*desktop);
    const auto stream = desktop->makeCaptureStream(platform::DisplayFilter{display, {}},
                                                   recordingOf(platform::DisplayFilter{display, {}}));
    std::mutex lock;
    std::map<int, double> shownAt;  // by number
    SerialQueue queue("test.wayland");
    stream->addScreenOutput(queue, [&](const platform::ScreenSample& sample) {
        if (!sample.image) return;
        const auto number = codeAt(*sample.image);
        const std::lock_guard hold(lock);
        if (number) shownAt.try_emplace(*number, sample.hostSeconds);
    });
    stream->start();
    const auto has = [&](int number) {
        return await([&] {
            const std::lock_guard hold(lock);
            return shownAt.contains(number);
        });
    };
    ASSERT_TRUE(has(1));
    std::map<int, double> drawnAt;
    constexpr int kLast = 60;
    for (int number = 2; number <= kLast; ++number) {
        drawnAt[number] = window.show(static_cast<std::uint16_t>(number));
        ASSERT_TRUE(has(number)) << number;
    }
    stream->stop();
    queue.drain();
    // The compositor shows what was drawn with its next frame.
    std::vector<double> delays;
    for (const auto& [number, drawn] : drawnAt) delays.push_back(shownAt[number] - drawn);
    std::sort(delays.begin(), delays.end());
    std::cout << "shown " << delays.front() * 1000 << " ... " << delays.back() * 1000 << " ms after it was drawn\n";
    EXPECT_GE(delays.front(), 0);
    EXPECT_LT(delays[delays.size() / 2], 0.040);
}

TEST(WaylandDesktop, RecordsARegionToThePixel) {
    const SwayRig rig;
    CodedWindow window(rig.display());
    window.show(0x5A5A);
    const auto desktop = openOn(rig);
    const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
    RunningCapture capture(*desktop, filter, Rect{40, 30, 600, 200});
    ASSERT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return picture.width() == 600 && picture.height() == 200 &&
               codeAt(picture, CodedWindow::kX - 40, CodedWindow::kY - 30) == 0x5A5A;
    }));
    window.show(0x0FF0);
    EXPECT_TRUE(capture.samples().waitForPicture(
        [](const auto& picture) { return codeAt(picture, CodedWindow::kX - 40, CodedWindow::kY - 30) == 0x0FF0; }));
}

TEST(WaylandDesktop, BeyondTheScreenARegionIsBlack) {
    const SwayRig rig;
    CodedWindow window(rig.display());
    window.show(3);
    const auto desktop = openOn(rig);
    const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
    RunningCapture capture(*desktop, filter, Rect{-100, -50, 800, 300});
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return codeAt(picture, CodedWindow::kX + 100, CodedWindow::kY + 50) == 3 && picture.pixel(50, 100)[1] == 0 &&
               picture.pixel(400, 20)[1] == 0;
    }));
}

TEST(WaylandDesktop, KeepsItsSizeWhenTheScreenChanges) {
    SwayRig rig;
    CodedWindow window(rig.display());
    window.show(1);
    const auto desktop = openOn(rig);
    const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
    RunningCapture capture(*desktop, filter);
    ASSERT_TRUE(capture.samples().waitForPicture([](const auto& picture) { return codeAt(picture) == 1; }));
    rig.command("output HEADLESS-1 mode --custom 1024x600@60Hz");
    std::uint16_t number = 1;
    const auto isShown = [&](const std::function<bool(const imaging::BgraPremultipliedBuffer&)>& fits) {
        return await([&] {
            window.show(++number);
            const auto picture = capture.samples().picture();
            return picture && codeAt(*picture).value_or(0) > 1 && fits(*picture);
        });
    };
    // What lies beyond the smaller screen is black.
    EXPECT_TRUE(isShown([](const auto& picture) {
        return picture.width() == 1280 && picture.height() == 720 && picture.pixel(1200, 700)[1] == 0 &&
               picture.pixel(900, 500)[1] != 0;
    }));
    rig.command("output HEADLESS-1 mode --custom 1280x720@60Hz");
    EXPECT_TRUE(isShown([](const auto& picture) { return picture.pixel(1200, 700)[1] != 0; }));
    const auto notices = capture.samples().notices();
    ASSERT_FALSE(notices.empty());
    EXPECT_NE(std::find(notices.begin(), notices.end(),
                        "Der aufgenommene Bildschirm ist jetzt 1024 × 600 Pixel groß; die Aufnahme behält ihre Größe."),
              notices.end());
    EXPECT_TRUE(capture.samples().stops().empty());
}

TEST(WaylandDesktop, KnowsTheScale) {
    SwayRig::Options options;
    options.width = 1920;
    options.height = 1080;
    options.scale = 1.5;
    const SwayRig rig(options);
    const CodedWindow window(rig.display());
    const auto desktop = openOn(rig);
    const platform::Display display = pickDisplay(*desktop);
    EXPECT_EQ(display.scale, 1.5);
    EXPECT_EQ(display.frame, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ(recordingOf(platform::DisplayFilter{display, {}}).width, 1920);
}

SwayRig::Options twoScreens(const std::string& second) {
    SwayRig::Options options;
    options.screens = 2;
    options.granted = "HEADLESS-2";
    options.more = "output HEADLESS-2 position 1280 0\noutput HEADLESS-2 " + second;
    return options;
}

TEST(WaylandDesktop, RecordsTheScreenThatWasGranted) {
    SwayRig rig(twoScreens("mode --custom 800x600@60Hz"));
    rig.command("focus output HEADLESS-2");
    CodedWindow window(rig.display());
    EXPECT_EQ(window.width(), 800);
    window.show(1);
    const auto desktop = openOn(rig);
    for (std::uint16_t number = 1; number <= 2; ++number) {
        const platform::Display display = pickDisplay(*desktop);
        EXPECT_EQ(display.name, "HEADLESS-2");
        EXPECT_EQ(display.frame, (Rect{1280, 0, 800, 600}));
        RunningCapture capture(*desktop, platform::DisplayFilter{display, {}});
        window.show(number);
        EXPECT_TRUE(capture.samples().waitForPicture([&](const auto& picture) { return codeAt(picture) == number; }));
    }
}

// The portal tells the same place for both, so neither may be copied in place of the other.
TEST(WaylandDesktop, NeverShowsAnotherScreenOfTheSameSize) {
    SwayRig rig(twoScreens("mode --custom 1280x720@60Hz"));
    rig.command("focus output HEADLESS-1");
    CodedWindow other(rig.display());
    other.show(1);
    rig.command("focus output HEADLESS-2");
    CodedWindow window(rig.display());
    window.show(2);
    const auto desktop = openOn(rig);
    for (std::uint16_t number = 3; number < 6; ++number) {
        const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
        RunningCapture capture(*desktop, filter);
        const auto shown = [&] {
            const auto picture = capture.samples().picture();
            const auto code = picture ? codeAt(*picture) : std::nullopt;
            EXPECT_NE(code, 1);
            return code;
        };
        await(0.3, [&] { return shown().has_value(); });
        EXPECT_TRUE(await([&] {
            window.show(number);
            return shown() == number;
        }));
    }
}

class WaylandDesktopTurned : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(By, WaylandDesktopTurned,
                         testing::Values("90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270"));

TEST_P(WaylandDesktopTurned, IsRecordedUpright) {
    SwayRig::Options options;
    const std::string turn = GetParam();
    options.more = "output HEADLESS-1 transform " + turn;
    const SwayRig rig(options);
    CodedWindow window(rig.display());
    const bool isSideways = turn.ends_with("90") || turn.ends_with("270");
    ASSERT_EQ(window.width(), isSideways ? 720 : 1280);
    window.show(0x1234);
    const auto desktop = openOn(rig);
    // The first stream brings a picture of its own, the second begins with a copy.
    for (int session = 0; session < 2; ++session) {
        const platform::Display display = pickDisplay(*desktop);
        EXPECT_EQ(display.name, "HEADLESS-1");
        EXPECT_EQ(display.frame, (isSideways ? Rect{0, 0, 720, 1280} : Rect{0, 0, 1280, 720}));
        RunningCapture capture(*desktop, platform::DisplayFilter{display, {}});
        const auto shows = [&](std::uint16_t number) {
            return capture.samples().waitForPicture([&](const auto& picture) { return codeAt(picture) == number; });
        };
        ASSERT_TRUE(shows(0x1234));
        // Parts of the screen, each told as damage.
        for (const std::uint16_t number : {std::uint16_t{0x4321}, std::uint16_t{0x0FF0}, std::uint16_t{0x1234}}) {
            window.show(number);
            EXPECT_TRUE(shows(number)) << number;
        }
    }
}

TEST(WaylandDesktop, AScreenThatIsTurnedWhileItIsRecordedStaysUpright) {
    SwayRig rig;
    CodedWindow window(rig.display());
    window.show(1);
    const auto desktop = openOn(rig);
    RunningCapture capture(*desktop, platform::DisplayFilter{pickDisplay(*desktop), {}});
    ASSERT_TRUE(capture.samples().waitForPicture([](const auto& picture) { return codeAt(picture) == 1; }));
    std::uint16_t number = 1;
    for (const char* turn : {"180", "90", "flipped", "normal"}) {
        rig.command(std::string("output HEADLESS-1 transform ") + turn);
        const std::uint16_t before = number;
        EXPECT_TRUE(await([&] {
            window.show(++number);
            const auto picture = capture.samples().picture();
            // What lies beyond a screen that is upright now is black.
            const bool isSideways = std::string(turn) == "90";
            return picture && codeAt(*picture).value_or(0) > before &&
                   (picture->pixel(1000, 600)[1] == 0) == isSideways;
        })) << turn;
    }
    EXPECT_TRUE(capture.samples().stops().empty());
}

TEST(WaylandDesktop, ATurnedScreenHasItsScale) {
    SwayRig::Options options;
    options.width = 1600;
    options.height = 900;
    options.scale = 1.25;
    options.more = "output HEADLESS-1 transform 270";
    const SwayRig rig(options);
    const auto desktop = openOn(rig);
    const platform::Display display = pickDisplay(*desktop);
    EXPECT_EQ(display.scale, 1.25);
    EXPECT_EQ(display.frame, (Rect{0, 0, 720, 1280}));
}

TEST(WaylandDesktop, AStillScreenIsRecordedAtOnceAndEveryChangeOfIt) {
    const SwayRig rig;
    CodedWindow window(rig.display());
    window.show(1);
    const auto desktop = openOn(rig);
    {
        // This portal sends a still screen once only.
        const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
        RunningCapture first(*desktop, filter);
        ASSERT_TRUE(first.samples().waitForPicture([](const auto& picture) { return codeAt(picture) == 1; }));
    }
    const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
    RunningCapture second(*desktop, filter);
    EXPECT_TRUE(second.samples().waitForPicture([](const auto& picture) { return codeAt(picture) == 1; }));
    // One change, and nothing after it.
    window.show(2);
    EXPECT_TRUE(second.samples().waitForPicture([](const auto& picture) { return codeAt(picture) == 2; }));
}

class WaylandDesktopLoss : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Of, WaylandDesktopLoss, testing::Values("compositor", "portal", "pipewire"));

TEST_P(WaylandDesktopLoss, EndsTheRecordingWithinTwoSeconds) {
    SwayRig rig;
    auto window = std::make_unique<CodedWindow>(rig.display());
    window->show(1);
    const auto desktop = openOn(rig);
    const platform::DisplayFilter filter{pickDisplay(*desktop), {}};
    RunningCapture capture(*desktop, filter);
    ASSERT_TRUE(capture.samples().waitForPicture([](const auto& picture) { return codeAt(picture) == 1; }));
    const double lost = hostClockSeconds();
    const std::string what = GetParam();
    if (what == "compositor") rig.killCompositor();
    if (what == "portal") rig.killPortal();
    if (what == "pipewire") rig.killPipeWire();
    EXPECT_TRUE(await([&] { return !capture.samples().stops().empty(); }));
    std::cout << hostClockSeconds() - lost << " s: " << capture.samples().stops().at(0) << "\n";
    EXPECT_FALSE(capture.samples().stops().at(0).empty());
    EXPECT_LT(hostClockSeconds() - lost, 2);
}

}  // namespace
}  // namespace lumivastor::wayland
