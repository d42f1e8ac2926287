// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "base/interval.h"

// How a span of time moves among others: the rules that zooms and cuts have in common. A span never passes or overlaps
// its neighbours and stays inside the recording. Where a document has spans that already do, they may stay so, but not
// go further. Times are seconds of source time and snap to the nearest frame.

namespace lumivastor::editor {

/// The recording whose spans are moved.
struct RecordingLength {
    double duration = 0;  // in seconds
    std::int64_t fps = 60;
};

/// The room that a span has.
///
///     |--[ one ]---(===span===)----[ two ]--|
///              |<------ room ----->|
struct SpanRoom {
    double start = 0, end = 0;
    /// The span stays before its next neighbour, also where they overlap.
    double lastStart = 0;
};

/// `earlier` and `later` are the spans before and after it in their list.
SpanRoom roomFor(const Interval& span, std::span<const Interval> earlier, std::span<const Interval> later,
                 double duration);

/// The span with another start and the same length.
Interval movedSpan(const Interval& span, double start, const SpanRoom& room, std::int64_t fps);
/// The span with another start and the same end; at least `least` seconds long, unless it is shorter already.
Interval spanWithStart(const Interval& span, double start, const SpanRoom& room, double least, std::int64_t fps);
/// The same for its end.
Interval spanWithEnd(const Interval& span, double end, const SpanRoom& room, double least, std::int64_t fps);

}  // namespace lumivastor::editor
