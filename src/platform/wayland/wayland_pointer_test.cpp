// SPDX-License-Identifier: GPL-3.0-or-later

// The pointer of a Wayland desktop, on a portal and with devices that the tests drive.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/host_clock.h"
#include "platform/synthetic/synthetic_pointer_devices.h"
#include "platform/wayland/wayland_desktop.h"
#include "support/await.h"
#include "support/portal_standin.h"
#include "support/sound_rig.h"

namespace lumivastor::wayland {
namespace {

using platform::PointerEvent;
using platform::PointerEventType;
using platform::PointerKnowledge;
using Kind = platform::RawPointerEvent::Kind;

class WaylandPointer : public testing::Test {
  protected:
    void open(std::uint32_t cursorModes) {
        PortalStandin::Options options;
        options.cursorModes = cursorModes;
        options.screen.size = {1280, 720};
        portal_ = std::make_unique<PortalStandin>(bus_.address(), rig_.remote(), options);
        desktop_ = openWaylandDesktop(nullptr, {bus_.address(), "/nowhere", {}, devices_});
    }
    // A recording's grant. Its display's points are its pixels, from (0, 0).
    void grant() {
        const auto picked = desktop_->contentPicker()->pick({}, {});
        const auto& display = std::get<platform::Display>(picked.value());
        origin_ = {display.frame.x, display.frame.y};
    }
    std::unique_ptr<platform::PointerMonitor> monitor() {
        return desktop_->monitorPointer({origin_, 1}, [this](const PointerEvent& event) {
            const std::lock_guard hold(lock_);
            events_.push_back(event);
        });
    }
    std::vector<PointerEvent> events(PointerEventType type) const {
        const std::lock_guard hold(lock_);
        std::vector<PointerEvent> found;
        for (const PointerEvent& event : events_) {
            if (event.type == type) found.push_back(event);
        }
        return found;
    }
    void act(Kind kind, int button = 1) {
        platform::RawPointerEvent event;
        event.kind = kind;
        event.button = kind == Kind::scroll ? 0 : button;
        event.notchesY = kind == Kind::scroll ? -1 : 0;
        event.hostSeconds = hostClockSeconds();
        devices_->emit(event);
    }

    const std::shared_ptr<synthetic::SyntheticPointerDevices> devices_ =
        std::make_shared<synthetic::SyntheticPointerDevices>();
    PipeWireRig rig_;
    BusRig bus_;
    std::unique_ptr<PortalStandin> portal_;
    std::unique_ptr<platform::Desktop> desktop_;
    Point origin_;
    mutable std::mutex lock_;
    std::vector<PointerEvent> events_;  // guarded by lock_
};

// Sixty positions a second along a circle, and a press half a position after each tenth of them.
TEST_F(WaylandPointer, ClicksLieWhereThePointerWasWhenTheyHappened) {
    open(7);
    grant();
    auto running = monitor();
    ASSERT_TRUE(running);
    ASSERT_TRUE(await([&] { return portal_->screen()->isStreaming(); }));
    struct Click {
        double hostSeconds;
        Point place;
    };
    std::vector<Click> clicks;
    for (int i = 0; i < 240; ++i) {
        const double angle = i * 0.05;
        const int x = 640 + static_cast<int>(std::lround(300 * std::cos(angle)));
        const int y = 360 + static_cast<int>(std::lround(300 * std::sin(angle)));
        ASSERT_TRUE(portal_->screen()->movePointer(x, y));
        std::this_thread::sleep_for(std::chrono::microseconds(8333));
        if (i % 10 == 9) {
            clicks.push_back({hostClockSeconds(), {static_cast<double>(x), static_cast<double>(y)}});
            act(Kind::press);
            act(Kind::release);
            act(Kind::scroll);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(8333));
    }
    running.reset();
    const auto presses = events(PointerEventType::leftMouseDown);
    const auto releases = events(PointerEventType::leftMouseUp);
    const auto scrolls = events(PointerEventType::scrollWheel);
    ASSERT_EQ(presses.size(), clicks.size());
    ASSERT_EQ(releases.size(), clicks.size());
    ASSERT_EQ(scrolls.size(), clicks.size());
    double farthest = 0;
    double latest = 0;
    for (std::size_t i = 0; i < clicks.size(); ++i) {
        const auto away = [&](const PointerEvent& event) {
            return std::hypot(event.location.x - origin_.x - clicks[i].place.x,
                              event.location.y - origin_.y - clicks[i].place.y);
        };
        farthest = std::max({farthest, away(presses[i]), away(releases[i]), away(scrolls[i])});
        latest = std::max(latest, std::abs(presses[i].hostSeconds - clicks[i].hostSeconds));
        EXPECT_EQ(scrolls[i].scrollingDeltaY, -1);
    }
    std::cout << "clicks are " << farthest << " px and " << latest * 1000 << " ms away\n";
    EXPECT_LE(farthest, 1);
    EXPECT_LE(latest, 0.005);
}

TEST_F(WaylandPointer, DevicesAreReadWhileThePointerIsMonitored) {
    open(7);
    EXPECT_EQ(desktop_->contentPicker()->offer().pointer, PointerKnowledge::complete);
    EXPECT_EQ(desktop_->pointerKnowledge(), PointerKnowledge::none);
    grant();
    EXPECT_FALSE(devices_->isWatched());
    for (int i = 0; i < 2; ++i) {
        const auto running = monitor();
        EXPECT_TRUE(devices_->isWatched());
        EXPECT_EQ(desktop_->pointerKnowledge(), PointerKnowledge::complete);
    }
    EXPECT_FALSE(devices_->isWatched());
}

TEST_F(WaylandPointer, WithoutReadableDevicesOnlyPositionsAreKnown) {
    devices_->refuse("Klicks lassen sich nicht sehen, weil es so ist.");
    open(7);
    const auto offer = desktop_->contentPicker()->offer();
    EXPECT_EQ(offer.pointer, PointerKnowledge::positions);
    EXPECT_EQ(offer.clickRefusal, "Klicks lassen sich nicht sehen, weil es so ist.");
    grant();
    const auto running = monitor();
    EXPECT_TRUE(running);
    EXPECT_EQ(desktop_->pointerKnowledge(), PointerKnowledge::positions);
    // Those devices that can be read are.
    EXPECT_TRUE(devices_->isWatched());
}

TEST_F(WaylandPointer, WhereThePointerIsPaintedIntoThePictureNoDeviceIsRead) {
    open(3);
    EXPECT_EQ(desktop_->contentPicker()->offer().pointer, PointerKnowledge::embedded);
    grant();
    EXPECT_FALSE(monitor());
    EXPECT_FALSE(devices_->isWatched());
    EXPECT_EQ(desktop_->pointerKnowledge(), PointerKnowledge::embedded);
}

}  // namespace
}  // namespace lumivastor::wayland
