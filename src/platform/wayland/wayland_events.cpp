// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/wayland_events.h"

#include <poll.h>
#include <wayland-client.h>

#include <cstdint>

#include "base/host_clock.h"

namespace lumivastor::wayland {

void DisplayDelete::operator()(wl_display* display) const {
    wl_display_disconnect(display);
}

WaylandConnection connectWayland(const std::string& display) {
    return WaylandConnection(wl_display_connect(display.empty() ? nullptr : display.c_str()));
}

bool handleEventsUntil(wl_display* display, const std::function<bool()>& done, double until) {
    for (;;) {
        if (wl_display_dispatch_pending(display) < 0) return false;
        if (done()) return true;
        if (wl_display_flush(display) < 0) return false;
        const double left = until - hostClockSeconds();
        pollfd file{wl_display_get_fd(display), POLLIN, 0};
        if (left <= 0 || ::poll(&file, 1, static_cast<int>(left * 1000) + 1) < 0) return false;
        if ((file.revents & POLLIN) != 0) {
            if (wl_display_dispatch(display) < 0) return false;
        } else if (file.revents != 0) {
            return false;
        }
    }
}

bool roundtrip(wl_display* display, double until) {
    bool isDone = false;
    static constexpr wl_callback_listener kDone{
        .done = [](void* data, wl_callback*, std::uint32_t) { *static_cast<bool*>(data) = true; }};
    wl_callback* const callback = wl_display_sync(display);
    wl_callback_add_listener(callback, &kDone, &isDone);
    const bool answers = handleEventsUntil(
        display, [&] { return isDone; }, until);
    wl_callback_destroy(callback);
    return answers;
}

}  // namespace lumivastor::wayland
