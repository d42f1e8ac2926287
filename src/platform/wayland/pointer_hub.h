// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "base/geometry.h"
#include "platform/input/pointer_interpreter.h"
#include "platform/pipewire/cursor_meta.h"
#include "platform/pointer_monitor.h"
#include "platform/wayland/pointer_timeline.h"

namespace lumivastor::wayland {

/// What is known of the pointer while a screen is granted, from its stream's metadata and from input devices. Any
/// thread.
class PointerHub {
  public:
    /// Where the content's top-left pixel lies on the desktop, in pixels. Before anything else.
    void setOrigin(Point pixels) { origin_ = pixels; }

    void report(const pipewire::CursorReport& report);
    /// Input devices report from now on.
    void expectActions();
    /// A press, release or scroll of an input device.
    void act(const platform::RawPointerEvent& event);
    /// Hands on what is old enough to be in order. To be called every few hundredths of a second.
    void handOn(double now);

    /// On the desktop, in pixels; nullopt before the first report, and while the pointer is elsewhere.
    std::optional<Point> location() const;
    /// As `Desktop::currentCursor`. nullopt also before the first report.
    std::optional<platform::SystemCursor> cursor(std::optional<std::uint64_t> knownSerial) const;

    /// Calls `handler` with every event from now on, on the threads that call `report` and `handOn`, until the monitor
    /// is destroyed; one monitor at a time.
    std::unique_ptr<platform::PointerMonitor> monitor(const platform::PointSpace& space,
                                                      platform::PointerEventHandler handler);

  private:
    class Monitor;

    void deliver(double now);

    Point origin_;
    mutable std::mutex lock_;
    PointerTimeline timeline_;
    pipewire::CursorReport::State state_ = pipewire::CursorReport::State::gone;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> shape_;
    std::uint64_t serial_ = 0;
    int hotSpotX_ = 0;
    int hotSpotY_ = 0;

    std::mutex monitorLock_;  // held while the monitor's handler runs; taken before `lock_`
    Monitor* monitor_ = nullptr;
};

}  // namespace lumivastor::wayland
