// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/cut_edits.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/interval.h"
#include "editor/session/frame_time.h"

namespace lumivastor::editor {

namespace {

// A cut of one frame is longer than this at 90 frames a second and more, where a frame is shorter.
constexpr double kLeastCut = 0.011;

bool hasCut(const model::ProjectSettings& settings, int index) {
    return index >= 0 && index < static_cast<int>(settings.cuts.size());
}

double leastCut(const RecordingLength& length) {
    return std::max(frameLength(length.fps), kLeastCut);
}

SpanRoom roomOf(const std::vector<model::CutRange>& cuts, std::size_t index, double duration) {
    const model::CutRange& cut = cuts[index];
    std::vector<Interval> earlier;
    std::vector<Interval> later;
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        if (i == index) continue;
        // Of two that start together, the first of the list is the earlier one.
        const bool isEarlier = std::pair(cuts[i].start, i) < std::pair(cut.start, index);
        (isEarlier ? earlier : later).push_back({cuts[i].start, cuts[i].end});
    }
    return roomFor({cut.start, cut.end}, earlier, later, duration);
}

model::ProjectSettings withSpan(const model::ProjectSettings& settings, int index, const RecordingLength& length,
                                auto change) {
    model::ProjectSettings next = settings;
    if (!hasCut(settings, index)) return next;
    const auto at = static_cast<std::size_t>(index);
    model::CutRange& cut = next.cuts[at];
    const Interval span = change(Interval{cut.start, cut.end}, roomOf(settings.cuts, at, length.duration));
    cut = {span.start, span.end};
    return next;
}

}  // namespace

model::ProjectSettings withMovedCut(const model::ProjectSettings& settings, int index, double start,
                                    const RecordingLength& length) {
    return withSpan(settings, index, length, [&](const Interval& span, const SpanRoom& room) {
        return movedSpan(span, start, room, length.fps);
    });
}

model::ProjectSettings withCutStart(const model::ProjectSettings& settings, int index, double start,
                                    const RecordingLength& length) {
    return withSpan(settings, index, length, [&](const Interval& span, const SpanRoom& room) {
        return spanWithStart(span, start, room, leastCut(length), length.fps);
    });
}

model::ProjectSettings withCutEnd(const model::ProjectSettings& settings, int index, double end,
                                  const RecordingLength& length) {
    return withSpan(settings, index, length, [&](const Interval& span, const SpanRoom& room) {
        return spanWithEnd(span, end, room, leastCut(length), length.fps);
    });
}

model::ProjectSettings withoutCut(const model::ProjectSettings& settings, int index) {
    model::ProjectSettings next = settings;
    if (hasCut(settings, index)) next.cuts.erase(next.cuts.begin() + index);
    return next;
}

}  // namespace lumivastor::editor
