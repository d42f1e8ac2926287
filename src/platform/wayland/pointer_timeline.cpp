// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/pointer_timeline.h"

#include <algorithm>

namespace lumivastor::wayland {

void PointerTimeline::moved(double hostSeconds, Point pixel) {
    latest_ = pixel;
    platform::RawPointerEvent event;
    event.kind = platform::RawPointerEvent::Kind::motion;
    event.hostSeconds = hostSeconds;
    event.pixel = pixel;
    insert(event);
}

void PointerTimeline::acted(platform::RawPointerEvent event) {
    hasDevices_ = true;
    event.pixel = std::nullopt;
    insert(event);
}

// Behind what has the same time, so that a press follows the move to its place.
void PointerTimeline::insert(platform::RawPointerEvent event) {
    const auto isLater = [&](const platform::RawPointerEvent& other) { return other.hostSeconds > event.hostSeconds; };
    held_.insert(std::find_if(held_.begin(), held_.end(), isLater), event);
}

std::vector<platform::RawPointerEvent> PointerTimeline::take(double now) {
    const double until = hasDevices_ ? now - kHold : now;
    std::vector<platform::RawPointerEvent> events;
    while (!held_.empty() && held_.front().hostSeconds <= until) {
        platform::RawPointerEvent event = held_.front();
        held_.pop_front();
        if (event.pixel) {
            taken_ = event.pixel;
        } else {
            event.pixel = taken_;
        }
        if (event.pixel) events.push_back(event);
    }
    return events;
}

}  // namespace lumivastor::wayland
