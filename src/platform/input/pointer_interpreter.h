// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/point_space.h"
#include "platform/pointer_monitor.h"

namespace lumivastor::platform {

/// What the server reports about the pointer, not yet interpreted.
struct RawPointerEvent {
    enum class Kind : std::uint8_t { press, release, motion, scroll };

    Kind kind = Kind::motion;
    double hostSeconds = 0;
    int button = 0;              // presses and releases: the physical button, from 1
    std::optional<Point> pixel;  // on the whole desktop; nullopt when the server does not report it
    /// Scrolling only, in notches; positive is up and left.
    double notchesX = 0;
    double notchesY = 0;
};

/// Turns raw events into pointer events. Knows the user's button mapping, the held buttons and the last position. One
/// thread.
class PointerInterpreter {
  public:
    explicit PointerInterpreter(const PointSpace& space) : space_(space) {}

    /// The logical button of each physical button, from the first on; 0 for disabled buttons. Without a mapping they
    /// are equal.
    void setMapping(std::vector<std::uint8_t> mapping) { mapping_ = std::move(mapping); }
    /// The initial position, and which of the logical buttons 1 to 3 are held.
    void begin(Point pixel, std::span<const int> held);

    /// nullopt for what is no event of its own: presses of the wheel's buttons 4 to 7 (see `wheelPress`), disabled
    /// buttons, and motion to the same place.
    std::optional<PointerEvent> interpret(const RawPointerEvent& raw);

    /// A press of the wheel's buttons 4 to 7 as scrolling by one notch; nullopt for other buttons.
    std::optional<RawPointerEvent> wheelPress(int button, double hostSeconds) const;

  private:
    int meaningOf(int button) const;
    PointerEventType motionType() const;

    const PointSpace space_;
    std::vector<std::uint8_t> mapping_;
    std::vector<int> held_;  // in the order of their presses; the first one determines the drag
    Point pixel_;
    bool isPlaced_ = false;
};

}  // namespace lumivastor::platform
