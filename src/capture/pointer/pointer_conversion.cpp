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

// The position that the events up to index `end` lead to, as a move at `t`; nullopt without positions. Those of presses
// do not count, because some desktops report presses without positions.
std::optional<RawEvent> arrivalAt(double t, const std::vector<RawEvent>& events, std::size_t begin, std::size_t end) {
    for (std::size_t i = end; i-- > begin;) {
        if (events[i].kind != model::PointerKind::move && events[i].kind != model::PointerKind::drag) continue;
        return RawEvent{t, events[i].point, model::PointerKind::move, {}, {}, {}};
    }
    return std::nullopt;
}

// The events outside of the pauses. Between a pause's beginning and its end the pointer jumps: a move at each keeps it
// from gliding there from the event before.
std::vector<RawEvent> eventsOutsideOf(const Pauses& pauses, std::vector<RawEvent> events) {
    if (pauses.list().empty()) return events;
    sortByTime(events);
    std::vector<RawEvent> kept;
    std::size_t next = 0;
    const auto isBefore = [](const RawEvent& event, double t) { return event.t < t; };
    const auto indexOf = [&](double t) {
        return static_cast<std::size_t>(std::lower_bound(events.begin(), events.end(), t, isBefore) - events.begin());
    };
    for (const Pause& pause : pauses.list()) {
        const std::size_t first = indexOf(pause.from);
        for (; next < first; ++next) {
            const bool isOfThePause = pause.isByPointer && events[next].kind != model::PointerKind::move &&
                                      events[next].t > pause.from - kStoppingSeconds;
            if (!isOfThePause) kept.push_back(events[next]);
        }
        next = pause.to ? indexOf(*pause.to) : events.size();
        if (!pause.to) break;
        if (const auto arrival = arrivalAt(*pause.to, events, first, next)) {
            if (const auto before = arrivalAt(pause.from, kept, 0, kept.size())) kept.push_back(*before);
            kept.push_back(*arrival);
        }
    }
    kept.insert(kept.end(), events.begin() + static_cast<std::ptrdiff_t>(next), events.end());
    return kept;
}

// Of the states that the pauses bring to one time, the last one holds.
template <class Item>
void keepLastOfEachTime(std::vector<Item>& items, const Pauses& pauses) {
    if (pauses.list().empty()) return;
    const auto last =
        std::unique(items.rbegin(), items.rend(), [](const Item& a, const Item& b) { return a.t == b.t; });
    items.erase(items.begin(), last.base());
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
                                 const std::optional<WindowTrack>& windowTrack, const DisplayTrack& displayTrack,
                                 const Pauses& pauses) {
    const double zero = pauses.nearestMovieTime(t0);
    const auto time = [&](double hostSeconds) { return pauses.nearestMovieTime(hostSeconds) - zero; };
    const Point atStart{geometry.displayBounds.x, geometry.displayBounds.y};
    model::Geometry now = geometry;
    model::PointerTrack track;
    const double cutoff = clickCutoff(raw.events);
    for (const RawEvent& event : eventsOutsideOf(pauses, raw.events)) {
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
            {time(event.t), pixel.x, pixel.y, fraction.x, fraction.y, event.kind, event.button, event.dx, event.dy});
    }
    sortByTime(track.events);
    for (const RawCursorChange& change : raw.cursorChanges) track.cursorChanges.push_back({time(change.t), change.id});
    sortByTime(track.cursorChanges);
    keepLastOfEachTime(track.cursorChanges, pauses);
    track.cursorImages = raw.cursorImages;
    std::sort(track.cursorImages.begin(), track.cursorImages.end(),
              [](const model::CursorImage& a, const model::CursorImage& b) { return a.id < b.id; });
    if (windowTrack) {
        track.windowFrames.emplace();
        for (const WindowSample& sample : *windowTrack) {
            const Rect& rect = sample.rect;
            track.windowFrames->push_back({time(sample.t), rect.x, rect.y, rect.width, rect.height});
        }
        keepLastOfEachTime(*track.windowFrames, pauses);
    }
    return track;
}

}  // namespace lumivastor::capture
