// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

struct wl_display;

namespace lumivastor::wayland {

struct DisplayDelete {
    void operator()(wl_display* display) const;
};
/// A connection to a compositor; null without one.
using WaylandConnection = std::unique_ptr<wl_display, DisplayDelete>;

/// Connects to this compositor; an empty name: as the environment says.
WaylandConnection connectWayland(const std::string& display);

/// Sends requests and handles events until `done` returns true. Returns false at the host time `until`, or when the
/// compositor is gone; the library's own functions wait for ever for a compositor that has stopped.
bool handleEventsUntil(wl_display* display, const std::function<bool()>& done, double until);

/// Waits until the compositor has answered all requests; false as above.
bool roundtrip(wl_display* display, double until);

}  // namespace lumivastor::wayland
