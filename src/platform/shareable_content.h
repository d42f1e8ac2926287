// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "platform/point_space.h"

namespace lumivastor::platform {

/// A screen. `frame` is in its own global points.
struct Display {
    std::uint32_t id = 0;
    std::string name;  // the connector's or the monitor's
    Rect frame;
    double scale = 1;  // pixels per point

    PointSpace pointSpace() const { return {{frame.x, frame.y}, scale}; }
    Rect pixelFrame() const { return pointSpace().pixelsFromRect(frame); }

    bool operator==(const Display&) const = default;
};

/// A program that has windows.
struct RunningApplication {
    int processId = 0;
    /// Identifies the program: the window class, if its windows have one; nullopt when unknown.
    std::optional<std::string> bundleIdentifier;
    /// For users.
    std::optional<std::string> name;

    bool operator==(const RunningApplication&) const = default;
};

/// A window. `frame` is its visible content without title bar and shadow, in global points of the display that shows
/// most of it.
struct Window {
    std::uint32_t id = 0;
    std::optional<std::string> title;
    std::optional<RunningApplication> application;
    /// 0 for ordinary windows, below 0 for desktops, above 0 for docks, menus, notifications and other floating
    /// windows.
    int layer = 0;
    Rect frame;
    /// The display that shows most of the window.
    std::uint32_t displayID = 0;

    bool operator==(const Window&) const = default;
};

/// What can be recorded now. Displays in the server's order; windows from front to back.
struct ShareableContent {
    std::vector<Display> displays;
    std::vector<Window> windows;
    std::vector<RunningApplication> applications;
    /// This program itself, when it has windows.
    std::optional<RunningApplication> ownApplication;
    std::uint32_t mainDisplayID = 0;
    /// Set when displays and regions cannot be recorded here: a German sentence that says what to do. Windows may be
    /// recordable nevertheless.
    std::optional<std::string> displayRefusal;

    /// Null when there is no such display or window.
    const Display* display(std::uint32_t id) const;
    const Window* window(std::uint32_t id) const;
};

}  // namespace lumivastor::platform
