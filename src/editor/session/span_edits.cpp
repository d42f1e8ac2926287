// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/span_edits.h"

#include <algorithm>

#include "editor/session/frame_time.h"

namespace lumivastor::editor {

SpanRoom roomFor(const Interval& span, std::span<const Interval> earlier, std::span<const Interval> later,
                 double duration) {
    SpanRoom room{0, duration, duration};
    for (const Interval& other : earlier) room.start = std::max(room.start, other.end);
    for (const Interval& other : later) room.end = std::min(room.end, other.start);
    room.lastStart = std::max(room.end, span.start);
    // What it exceeds already it may keep.
    room.start = std::min(room.start, span.start);
    room.end = std::max(room.end, span.end);
    return room;
}

Interval movedSpan(const Interval& span, double start, const SpanRoom& room, std::int64_t fps) {
    const double last = std::max(room.end - span.length(), room.start);
    const double moved = std::clamp(nearestFrame(start, fps), room.start, last);
    return {moved, moved + span.length()};
}

Interval spanWithStart(const Interval& span, double start, const SpanRoom& room, double least, std::int64_t fps) {
    const double latest = span.length() > least ? span.end - least : span.start;
    const double last = std::min(latest, room.lastStart);
    return {std::clamp(nearestFrame(start, fps), room.start, std::max(last, room.start)), span.end};
}

Interval spanWithEnd(const Interval& span, double end, const SpanRoom& room, double least, std::int64_t fps) {
    const double first = std::min(span.length() > least ? span.start + least : span.end, room.end);
    return {span.start, std::clamp(nearestFrame(end, fps), first, room.end)};
}

}  // namespace lumivastor::editor
