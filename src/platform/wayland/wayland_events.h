// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

struct wl_display;

namespace lumivastor::wayland {

/// Sends requests and handles events until `done` returns true. Returns false at the host time `until`, or when the
/// compositor is gone; the library's own functions wait for ever for a compositor that has stopped.
bool handleEventsUntil(wl_display* display, const std::function<bool()>& done, double until);

/// Waits until the compositor has answered all requests; false as above.
bool roundtrip(wl_display* display, double until);

}  // namespace lumivastor::wayland
