// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/point_space.h"
#include "platform/pointer_monitor.h"

namespace lumivastor::x11 {

/// What the server tells about the pointer, before it means anything.
struct RawPointerEvent {
    enum class Kind : std::uint8_t { press, release, motion, scroll };

    Kind kind = Kind::motion;
    double hostSeconds = 0;
    int button = 0;              // presses and releases: the physical one, from 1
    std::optional<Point> pixel;  // on the whole desktop; nothing where the server does not tell
    /// Scrolling only, in notches; positive is up and left.
    double notchesX = 0;
    double notchesY = 0;
};

/// Makes pointer events of what the server tells: knows the user's button mapping, which buttons are held, and where
/// the pointer was last. One thread.
class PointerInterpreter {
  public:
    explicit PointerInterpreter(const platform::PointSpace& space) : space_(space) {}

    /// What each physical button means, the first one first; 0 for buttons that are switched off. Without, each means
    /// itself.
    void setMapping(std::vector<std::uint8_t> mapping) { mapping_ = std::move(mapping); }
    /// Where the pointer is and which of the buttons 1 to 3 are held at the beginning (meanings, not physical buttons).
    void begin(Point pixel, std::span<const int> held);

    /// Nothing for what is no event: wheels that come as presses of buttons 4 to 7 (see `scroll`), switched-off
    /// buttons, and motion that does not move.
    std::optional<platform::PointerEvent> interpret(const RawPointerEvent& raw);

    /// A press of the wheel's buttons 4 to 7 as scrolling by one notch; nothing for other buttons.
    std::optional<RawPointerEvent> wheelPress(int button, double hostSeconds) const;

  private:
    int meaningOf(int button) const;
    platform::PointerEventType motionType() const;

    const platform::PointSpace space_;
    std::vector<std::uint8_t> mapping_;
    std::vector<int> held_;  // in the order of their presses; the first one drags
    Point pixel_;
    bool isPlaced_ = false;
};

/// What the scroll axes of the devices tell.
class ScrollAxes {
  public:
    struct Axis {
        int number = 0;  // of the valuator
        bool isHorizontal = false;
        double increment = 1;  // of one notch; negative where the axis counts the other way
    };

    void setDevice(int device, std::vector<Axis> axes) { devices_[device] = std::move(axes); }
    void clear() { devices_.clear(); }
    bool knows(int device) const { return devices_.contains(device); }

    /// How many notches (right, down) the valuators with these numbers and values scroll on a device.
    std::pair<double, double> notches(int device, std::span<const std::pair<int, double>> valuators) const;

  private:
    std::map<int, std::vector<Axis>> devices_;
};

}  // namespace lumivastor::x11
