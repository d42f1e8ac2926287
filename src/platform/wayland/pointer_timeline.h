// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "base/geometry.h"
#include "platform/input/pointer_interpreter.h"

namespace lumivastor::wayland {

/// Joins two reports about one pointer: where it is, from a screen's stream, and what its buttons and wheel do, from
/// the input devices. Devices report at once but know no positions; positions arrive some milliseconds late. So events
/// are held until no position from before them can arrive any more. Plain value; one thread.
class PointerTimeline {
  public:
    /// How long events are held, in seconds: positions arrived up to 11 ms late on the desktops that were measured.
    static constexpr double kHold = 0.05;

    /// The pointer was at `pixel` from `hostSeconds` on.
    void moved(double hostSeconds, Point pixel);
    /// Devices report from now on, so that moves are held, too.
    void expectActions() { hasDevices_ = true; }
    /// A press, release or scroll. Its `pixel` is ignored.
    void acted(platform::RawPointerEvent event);

    /// Removes and returns what is older than `kHold`, in order of time. Presses, releases and scrolls have the latest
    /// position at or before their time; those before any position are left out. Without devices, moves are not held.
    std::vector<platform::RawPointerEvent> take(double now);

    /// The latest position, held or not; nullopt before the first.
    std::optional<Point> position() const { return latest_; }

  private:
    void insert(platform::RawPointerEvent event);

    std::deque<platform::RawPointerEvent> held_;  // by time
    std::optional<Point> latest_;
    std::optional<Point> taken_;  // the position after the events that were taken
    bool hasDevices_ = false;
};

}  // namespace lumivastor::wayland
