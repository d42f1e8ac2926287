// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "platform/pictures/frame_pacer.h"
#include "platform/x11/x11_desktop.h"
#include "support/await.h"
#include "support/desktop_rig/capture_setup.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_pointer.h"

namespace lumivastor::x11 {
namespace {

constexpr std::uint32_t kGround = 0x204060;

// What a screen shows on which one window with a pattern stands on a plain ground.
auto patternOn(const RigWindow& window, int width, int height, int seed, int areaX, int areaY) {
    const int left = window.screenX() - areaX;
    const int top = window.screenY() - areaY;
    return [=](int x, int y) {
        const bool isInside = x >= left && x < left + width && y >= top && y < top + height;
        return isInside ? patternAt(seed, x - left, y - top) : kGround;
    };
}

bool equalsEverywhere(const imaging::BgraPremultipliedBuffer& picture,
                      const std::function<std::uint32_t(int, int)>& colorAt) {
    return differingPixels(picture, 0, 0, picture.width(), picture.height(), colorAt) == 0;
}

TEST(X11DisplayCapture, ShowsTheScreenToThePixelAndFollowsEveryChange) {
    DesktopRig rig({1281, 803});  // odd: the picture ends a pixel earlier
    rig.paintRoot(kGround);
    RigWindow window(rig.displayName(), {.x = 300, .y = 200, .width = 333, .height = 222});
    window.drawPattern(1);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, platform::DisplayFilter{mainDisplay(*desktop), {}});
    const auto isShown = [&](int seed) {
        return capture.samples().waitForPicture(
            [&](const auto& picture) { return equalsEverywhere(picture, patternOn(window, 333, 222, seed, 0, 0)); });
    };
    EXPECT_TRUE(isShown(1));
    EXPECT_EQ(capture.samples().picture()->width(), 1280);
    EXPECT_EQ(capture.samples().picture()->height(), 802);
    for (int seed = 2; seed < 8; ++seed) {
        window.drawPattern(seed);
        EXPECT_TRUE(isShown(seed));
        window.moveTo(seed * 100 - 150, seed * 50);
        EXPECT_TRUE(isShown(seed)) << "moved";
    }
    capture.stop();
    EXPECT_TRUE(capture.samples().stops().empty());
}

TEST(X11DisplayCapture, DoesNotShowThePointer) {
    DesktopRig rig;
    rig.paintRoot(kGround);
    ScriptedPointer(rig.displayName()).moveTo(200, 200);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, platform::DisplayFilter{mainDisplay(*desktop), {}});
    EXPECT_TRUE(capture.samples().waitForPicture(
        [](const auto& picture) { return equalsEverywhere(picture, [](int, int) { return kGround; }); }));
}

TEST(X11DisplayCapture, ARegionIsExactAtEveryScale) {
    DesktopRig rig({1280, 800});
    rig.paintRoot(kGround);
    RigWindow window(rig.displayName(), {.x = 101, .y = 57, .width = 700, .height = 500});
    window.drawPattern(5);
    for (const int dots : {96, 120, 144, 192}) {
        rig.setDotsPerInch(dots);
        const auto desktop = openX11Desktop(nullptr, rig.displayName());
        const platform::DisplayFilter filter{mainDisplay(*desktop), {}};
        const double scale = filter.display.scale;
        ASSERT_EQ(scale, dots / 96.0);
        const Rect region{33, 41, 200, 151};
        RunningCapture capture(*desktop, filter, region);
        const int left = static_cast<int>(std::lround(33 * scale));
        const int top = static_cast<int>(std::lround(41 * scale));
        EXPECT_TRUE(capture.samples().waitForPicture([&](const auto& picture) {
            return picture.width() == (static_cast<int>(std::lround(200 * scale)) & ~1) &&
                   picture.height() == (static_cast<int>(std::lround(151 * scale)) & ~1) &&
                   equalsEverywhere(picture, patternOn(window, 700, 500, 5, left, top));
        })) << scale;
    }
}

TEST(X11DisplayCapture, EachOfTwoDisplaysAndARegionAcrossBoth) {
    DesktopRig rig({2000, 800});
    rig.paintRoot(kGround);
    rig.setMonitors({{"Left", 0, 0, 1200, 800}, {"Right", 1200, 0, 800, 700}});
    RigWindow window(rig.displayName(), {.x = 1100, .y = 100, .width = 300, .height = 200});
    window.drawPattern(3);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const auto shows = [&](RunningCapture& capture, int areaX, int areaY) {
        return capture.samples().waitForPicture([&](const auto& picture) {
            return equalsEverywhere(picture, patternOn(window, 300, 200, 3, areaX, areaY));
        });
    };
    const platform::DisplayFilter left{displayNamed(*desktop, "Left"), {}};
    const platform::DisplayFilter right{displayNamed(*desktop, "Right"), {}};
    RunningCapture onLeft(*desktop, left);
    EXPECT_TRUE(shows(onLeft, 0, 0));
    EXPECT_EQ(onLeft.samples().picture()->width(), 1200);
    RunningCapture onRight(*desktop, right);
    EXPECT_TRUE(shows(onRight, 1200, 0));
    EXPECT_EQ(onRight.samples().picture()->height(), 700);
    RunningCapture acrossFromLeft(*desktop, left, Rect{1050, 50, 400, 300});
    EXPECT_TRUE(shows(acrossFromLeft, 1050, 50));
    RunningCapture acrossFromRight(*desktop, right, Rect{-150, 50, 400, 300});
    EXPECT_TRUE(shows(acrossFromRight, 1050, 50));
}

TEST(X11DisplayCapture, WhatLiesBeyondTheDesktopIsBlack) {
    DesktopRig rig({800, 600});
    rig.paintRoot(kGround);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, platform::DisplayFilter{mainDisplay(*desktop), {}}, Rect{-50, 500, 200, 200});
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return equalsEverywhere(picture, [](int x, int y) { return x >= 50 && y < 100 ? kGround : 0; });
    }));
}

TEST(X11DisplayCapture, AStillScreenIsIdleAndItsPictureComesAgainEachSecond) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, platform::DisplayFilter{mainDisplay(*desktop), {}});
    ASSERT_TRUE(await([&] {
        return capture.samples().count(platform::FrameStatus::complete) >= 3 &&
               capture.samples().count(platform::FrameStatus::idle) > 10;
    }));
    const double before = hostClockSeconds();
    capture.stop();
    const auto seen = capture.samples().seen();
    EXPECT_EQ(seen.front().status, platform::FrameStatus::started);
    EXPECT_EQ(seen.back().status, platform::FrameStatus::stopped);
    const auto& last = seen[seen.size() - 2];
    EXPECT_EQ(last.status, platform::FrameStatus::complete);
    EXPECT_TRUE(last.hasPicture);
    EXPECT_GE(last.hostSeconds, before);
    double lastPicture = seen.front().hostSeconds;
    double lastTime = 0;
    for (const auto& one : seen) {
        EXPECT_GE(one.hostSeconds, lastTime);
        lastTime = one.hostSeconds;
        const bool isPicture =
            one.status == platform::FrameStatus::started || one.status == platform::FrameStatus::complete;
        EXPECT_EQ(one.hasPicture, isPicture);
        if (one.status == platform::FrameStatus::idle) {
            EXPECT_LT(one.hostSeconds - lastPicture, platform::FramePacer::kRepeatAfter);
        }
        if (!isPicture) continue;
        lastPicture = one.hostSeconds;
    }
}

TEST(X11DisplayCapture, APictureShowsEverythingThatWasPaintedUntilItsTime) {
    DesktopRig rig;
    RigWindow window(rig.displayName(), {.width = 320, .height = 100});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::DisplayFilter filter{mainDisplay(*desktop), {}};
    std::mutex lock;
    std::vector<std::pair<double, int>> shown;  // time and number; guarded by lock
    SerialQueue queue("test");
    const auto stream = desktop->makeCaptureStream(filter, recordingOf(filter));
    stream->addScreenOutput(queue, [&](const platform::ScreenSample& sample) {
        if (!sample.image) return;
        int number = 0;
        for (int bit = 0; bit < 16; ++bit) number |= (sample.image->pixel(105 + bit * 20, 150)[0] != 0 ? 1 : 0) << bit;
        const std::lock_guard hold(lock);
        shown.emplace_back(sample.hostSeconds, number);
    });
    window.drawCounter(0);
    stream->start();
    const auto count = [&] {
        const std::lock_guard hold(lock);
        return shown.size();
    };
    // Without a rest, so that something is painted in every part of a picture's making.
    constexpr std::size_t kPictures = 30;
    constexpr int kMostNumbers = 0xffff;  // of 16 bits
    int last = 0;
    std::vector<double> painted{0};  // when each number certainly was on the screen
    while (count() < kPictures && last < kMostNumbers) {
        window.drawCounter(++last);
        painted.push_back(hostClockSeconds());
    }
    ASSERT_TRUE(await([&] {
        const std::lock_guard hold(lock);
        return !shown.empty() && shown.back().second == last;
    }));
    stream->stop();
    queue.drain();
    EXPECT_GT(shown.size(), 5U);
    for (const auto& [time, number] : shown) {
        const auto later = std::upper_bound(painted.begin(), painted.end(), time);
        EXPECT_GE(number, later - painted.begin() - 1);
    }
}

// Paints what is there already, as programs do that redraw on a timer. Whether no new picture came of it: the last one
// stays, and at ticks behind the painting there was nothing new.
bool isIdleWhilePaintedAgain(SampleCollector& samples, RigWindow& window, int seed) {
    const auto before = samples.picture();
    for (int i = 0; i < 20; ++i) window.drawPattern(seed);
    const int idle = samples.count(platform::FrameStatus::idle);
    return await([&] { return samples.count(platform::FrameStatus::idle) > idle + 2; }) && samples.picture() == before;
}

TEST(X11DisplayCapture, WhatIsPaintedAgainWithoutAChangeIsIdle) {
    DesktopRig rig;
    rig.paintRoot(kGround);
    RigWindow window(rig.displayName(), {.x = 300, .y = 200, .width = 333, .height = 222});
    window.drawPattern(1);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::DisplayFilter filter{mainDisplay(*desktop), {}};
    RunningCapture display(*desktop, filter);
    RunningCapture region(*desktop, filter, Rect{310, 210, 200, 200});
    ASSERT_TRUE(display.samples().waitForPicture(
        [&](const auto& picture) { return equalsEverywhere(picture, patternOn(window, 333, 222, 1, 0, 0)); }));
    ASSERT_TRUE(region.samples().waitForPicture(
        [&](const auto& picture) { return equalsEverywhere(picture, patternOn(window, 333, 222, 1, 310, 210)); }));
    EXPECT_TRUE(isIdleWhilePaintedAgain(display.samples(), window, 1));
    EXPECT_TRUE(isIdleWhilePaintedAgain(region.samples(), window, 1));
    // One pixel is news.
    const std::uint32_t other = patternAt(1, 150, 100) ^ 1;
    window.fill(other, 150, 100, 1, 1);
    const auto isShown = [&](RunningCapture& capture, int areaX, int areaY) {
        const auto before = patternOn(window, 333, 222, 1, areaX, areaY);
        const int x = window.screenX() + 150 - areaX;
        const int y = window.screenY() + 100 - areaY;
        return capture.samples().waitForPicture([&](const auto& picture) {
            return equalsEverywhere(picture,
                                    [&](int px, int py) { return px == x && py == y ? other : before(px, py); });
        });
    };
    EXPECT_TRUE(isShown(display, 0, 0));
    EXPECT_TRUE(isShown(region, 310, 210));
}

TEST(X11DisplayCapture, TellsWhereItsDisplayIsAndWhenItMoves) {
    DesktopRig rig({2000, 800});
    rig.paintRoot(kGround);
    rig.setMonitors({{"Left", 0, 0, 1200, 800}, {"Right", 1200, 0, 600, 700}});
    RigWindow window(rig.displayName(), {.x = 1300, .y = 100, .width = 300, .height = 200});
    window.drawPattern(3);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::DisplayFilter right{displayNamed(*desktop, "Right"), {}};
    std::mutex lock;
    std::vector<std::pair<double, Point>> origins;  // guarded by lock
    const auto told = [&] {
        const std::lock_guard hold(lock);
        return origins;
    };
    const auto stream = desktop->makeCaptureStream(right, recordingOf(right));
    SampleCollector samples(*stream);
    stream->onDisplayOrigin([&](double hostSeconds, Point pixels) {
        const std::lock_guard hold(lock);
        origins.emplace_back(hostSeconds, pixels);
    });
    stream->start();
    const auto isShownFrom = [&](int x) {
        return samples.waitForPicture(
            [&](const auto& picture) { return equalsEverywhere(picture, patternOn(window, 300, 200, 3, x, 0)); });
    };
    EXPECT_TRUE(isShownFrom(1200));
    EXPECT_EQ(told().size(), 1U);
    const double before = samples.seen().back().hostSeconds;
    rig.moveMonitor({"Right", 1250, 0, 600, 700});
    EXPECT_TRUE(isShownFrom(1250));
    EXPECT_TRUE(samples.stops().empty());
    stream->stop();
    samples.drain();
    ASSERT_EQ(told().size(), 2U);
    EXPECT_EQ(told()[0].second, (Point{1200, 0}));
    EXPECT_EQ(told()[1].second, (Point{1250, 0}));
    EXPECT_GE(told()[1].first, before) << "a later tick found it";
    EXPECT_GE(samples.seen().back().hostSeconds, told()[1].first);
}

TEST(X11DisplayCapture, TakesNoPictureWhileAllBuffersAreOut) {
    DesktopRig rig;
    RigWindow window(rig.displayName(), {.x = 0, .y = 0, .width = 320, .height = 100});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::DisplayFilter filter{mainDisplay(*desktop), {}};
    std::mutex lock;
    std::vector<platform::ScreenSample> kept;  // guarded by lock
    double newest = 0;                         // time of the last sample; guarded by lock
    SerialQueue queue("test");
    const auto stream = desktop->makeCaptureStream(filter, recordingOf(filter));
    stream->addScreenOutput(queue, [&](const platform::ScreenSample& sample) {
        const std::lock_guard hold(lock);
        newest = sample.hostSeconds;
        const bool isNew =
            std::none_of(kept.begin(), kept.end(), [&](const auto& one) { return one.image == sample.image; });
        if (sample.image && isNew) kept.push_back(sample);
    });
    stream->start();
    const auto count = [&] {
        const std::lock_guard hold(lock);
        return kept.size();
    };
    int number = 0;
    ASSERT_TRUE(await([&] {
        window.drawCounter(++number);
        return count() == 6;
    }));
    window.drawCounter(0xffff);
    // Until the last picture is repeated, which is a second later: at the ticks in between there was something new.
    const double drawn = hostClockSeconds();
    ASSERT_TRUE(await([&] {
        const std::lock_guard hold(lock);
        return newest > drawn;
    }));
    EXPECT_EQ(count(), 6U);
    {
        const std::lock_guard hold(lock);
        kept.erase(kept.begin());
    }
    // What was new comes with the next one.
    ASSERT_TRUE(await([&] { return count() == 6; }));
    const std::lock_guard hold(lock);
    EXPECT_EQ(kept.back().image->pixel(319, 50)[0], 255);
}

TEST(X11DisplayCapture, GoesOnWhenTheScreenChangesItsSize) {
    DesktopRig rig({1280, 800});
    rig.paintRoot(kGround);
    RigWindow window(rig.displayName(), {.x = 100, .y = 100, .width = 200, .height = 100, .color = 0xffffff});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, platform::DisplayFilter{mainDisplay(*desktop), {}});
    ASSERT_TRUE(capture.samples().waitForColor(150, 150, 0xffffff));
    rig.setScreenSize(800, 600);
    EXPECT_TRUE(capture.samples().waitForPicture([](const auto& picture) {
        return equalsEverywhere(picture, [](int x, int y) -> std::uint32_t {
            if (x >= 800 || y >= 600) return 0;
            return x >= 100 && x < 300 && y >= 100 && y < 200 ? 0xffffff : kGround;
        });
    }));
    EXPECT_FALSE(capture.samples().notices().empty());
    window.fill(0x00ff00);
    EXPECT_TRUE(capture.samples().waitForColor(150, 150, 0x00ff00));
    rig.setScreenSize(1280, 800);
    EXPECT_TRUE(capture.samples().waitForColor(1279, 799, kGround));
    EXPECT_TRUE(capture.samples().stops().empty());
}

TEST(X11DisplayCapture, EndsWhenItsDisplayIsUnplugged) {
    DesktopRig rig({2000, 800});
    rig.setMonitors({{"Left", 0, 0, 1200, 800}, {"Right", 1200, 0, 800, 700}});
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::DisplayFilter right{displayNamed(*desktop, "Right"), {}};
    RunningCapture capture(*desktop, right);
    ASSERT_TRUE(capture.samples().waitForColor(0, 0, 0));
    rig.removeMonitor("Right");
    ASSERT_TRUE(await([&] { return !capture.samples().stops().empty(); }));
    EXPECT_EQ(capture.samples().stops(),
              std::vector<std::string>{"Der aufgenommene Bildschirm wurde abgeschaltet oder abgezogen."});
    capture.stop();
    EXPECT_THROW(desktop->makeCaptureStream(right, recordingOf(right))->start(), RecorderError);
}

TEST(X11DisplayCapture, EndsWithAnErrorWhenTheServerDies) {
    DesktopRig rig;
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    RunningCapture capture(*desktop, platform::DisplayFilter{mainDisplay(*desktop), {}});
    ASSERT_TRUE(capture.samples().waitForColor(0, 0, 0));
    rig.killServer();
    ASSERT_TRUE(await([&] { return !capture.samples().stops().empty(); }));
    capture.stop();
    EXPECT_EQ(capture.samples().stops(), std::vector<std::string>{"Die Verbindung zum Bildschirm ist abgerissen."});
    // What was recorded has its whole length.
    const auto seen = capture.samples().seen();
    EXPECT_EQ(seen[seen.size() - 2].status, platform::FrameStatus::complete);
    EXPECT_EQ(seen.back().status, platform::FrameStatus::stopped);
}

TEST(X11DisplayCapture, ManyStreamsStartAndStopAtOnce) {
    DesktopRig rig;
    rig.paintRoot(kGround);
    const auto desktop = openX11Desktop(nullptr, rig.displayName());
    const platform::DisplayFilter filter{mainDisplay(*desktop), {}};
    for (int round = 0; round < 5; ++round) {
        RunningCapture first(*desktop, filter);
        RunningCapture second(*desktop, filter, Rect{10, 10, 100, 100});
        if (round % 2 == 0) {
            EXPECT_TRUE(first.samples().waitForColor(5, 5, kGround));
        }
        first.stop();
    }
}

}  // namespace
}  // namespace lumivastor::x11
