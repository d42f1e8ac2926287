// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/wayland_desktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/host_clock.h"
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

platform::Display pickDisplay(platform::Desktop& desktop) {
    const auto picked = desktop.contentPicker()->pick({}, {});
    return std::get<platform::Display>(picked.value());
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
    const SwayRig rig({1920, 1080, 1.5});
    const CodedWindow window(rig.display());
    const auto desktop = openOn(rig);
    const platform::Display display = pickDisplay(*desktop);
    EXPECT_EQ(display.scale, 1.5);
    EXPECT_EQ(display.frame, (Rect{0, 0, 1280, 720}));
    EXPECT_EQ(recordingOf(platform::DisplayFilter{display, {}}).width, 1920);
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
