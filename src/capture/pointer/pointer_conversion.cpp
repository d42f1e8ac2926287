// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pointer/pointer_conversion.h"

#include <algorithm>

namespace lumivastor::capture {

namespace {

constexpr double kStoppingSeconds = 1.0;

template <class Item>
void sortByTime(std::vector<Item>& items) {
    std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.t < b.t; });
}

// The last sample at or before a time; the end when the time precedes all.
template <class Sample>
auto sampleAt(const std::vector<Sample>& track, double t) {
    const auto after = std::upper_bound(track.begin(), track.end(), t,
                                        [](double time, const Sample& sample) { return time < sample.t; });
    return after == track.begin() ? track.end() : std::prev(after);
}

}  // namespace

RawEvent rawEvent(const platform::PointerEvent& event) {
    RawEvent raw{event.hostSeconds, event.location, model::PointerKind::move, {}, {}, {}};
    const auto with = [&raw](model::PointerKind kind, model::PointerButton button) {
        raw.kind = kind;
        raw.button = button;
        return raw;
    };
    switch (event.type) {
        case platform::PointerEventType::leftMouseDown:
            return with(model::PointerKind::down, model::PointerButton::left);
        case platform::PointerEventType::leftMouseUp:
            return with(model::PointerKind::up, model::PointerButton::left);
        case platform::PointerEventType::rightMouseDown:
            return with(model::PointerKind::down, model::PointerButton::right);
        case platform::PointerEventType::rightMouseUp:
            return with(model::PointerKind::up, model::PointerButton::right);
        case platform::PointerEventType::otherMouseDown:
            return with(model::PointerKind::down, model::PointerButton::other);
        case platform::PointerEventType::otherMouseUp:
            return with(model::PointerKind::up, model::PointerButton::other);
        case platform::PointerEventType::leftMouseDragged:
            return with(model::PointerKind::drag, model::PointerButton::left);
        case platform::PointerEventType::rightMouseDragged:
            return with(model::PointerKind::drag, model::PointerButton::right);
        case platform::PointerEventType::otherMouseDragged:
            return with(model::PointerKind::drag, model::PointerButton::other);
        case platform::PointerEventType::scrollWheel:
            raw.kind = model::PointerKind::scroll;
            raw.dx = event.scrollingDeltaX;
            raw.dy = event.scrollingDeltaY;
            return raw;
        case platform::PointerEventType::mouseMoved:
            break;
    }
    return raw;
}

double clickCutoff(const std::vector<RawEvent>& events) {
    const auto latest =
        std::max_element(events.begin(), events.end(), [](const RawEvent& a, const RawEvent& b) { return a.t < b.t; });
    return (latest == events.end() ? 0 : latest->t) - kStoppingSeconds;
}

const Rect* windowFrameAt(const WindowTrack& track, double t) {
    if (track.empty()) return nullptr;
    const auto sample = sampleAt(track, t);
    return sample == track.end() ? &track.front().rect : &sample->rect;
}

Point displayOriginAt(const DisplayTrack& track, double t, Point atStart) {
    const auto sample = sampleAt(track, t);
    return sample == track.end() ? atStart : sample->point;
}

model::PointerTrack pointerTrack(const RawPointerTrack& raw, double t0, const model::Geometry& geometry,
                                 const std::optional<WindowTrack>& windowTrack, const DisplayTrack& displayTrack) {
    const Point atStart{geometry.displayBounds.x, geometry.displayBounds.y};
    model::Geometry now = geometry;
    model::PointerTrack track;
    const double cutoff = clickCutoff(raw.events);
    for (const RawEvent& event : raw.events) {
        if (event.kind != model::PointerKind::move && event.t > cutoff) continue;
        const Rect* frame = windowTrack ? windowFrameAt(*windowTrack, event.t) : nullptr;
        const Point origin = displayOriginAt(displayTrack, event.t, atStart);
        now.displayBounds.x = origin.x;
        now.displayBounds.y = origin.y;
        const Point pixel = frame == nullptr ? now.sourcePixel(event.point)
                                             : Point{(event.point.x - frame->minX()) * geometry.pointPixelScale,
                                                     (event.point.y - frame->minY()) * geometry.pointPixelScale};
        const Point fraction = geometry.normalized(pixel);
        track.events.push_back(
            {event.t - t0, pixel.x, pixel.y, fraction.x, fraction.y, event.kind, event.button, event.dx, event.dy});
    }
    sortByTime(track.events);
    for (const RawCursorChange& change : raw.cursorChanges) track.cursorChanges.push_back({change.t - t0, change.id});
    sortByTime(track.cursorChanges);
    track.cursorImages = raw.cursorImages;
    std::sort(track.cursorImages.begin(), track.cursorImages.end(),
              [](const model::CursorImage& a, const model::CursorImage& b) { return a.id < b.id; });
    if (windowTrack) {
        track.windowFrames.emplace();
        for (const WindowSample& sample : *windowTrack) {
            const Rect& rect = sample.rect;
            track.windowFrames->push_back({sample.t - t0, rect.x, rect.y, rect.width, rect.height});
        }
    }
    return track;
}

}  // namespace lumivastor::capture
