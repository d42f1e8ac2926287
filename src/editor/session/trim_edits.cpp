// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/trim_edits.h"

#include <algorithm>
#include <cmath>

#include "edit/timeline.h"
#include "editor/session/frame_time.h"

namespace lumivastor::editor {

namespace {

// Of a frame: half a second is a whole number of most frames, but for rounding.
constexpr double kSliver = 1e-6;

}  // namespace

model::ProjectSettings withTrimStart(const model::ProjectSettings& settings, double start,
                                     const RecordingLength& length) {
    const edit::TrimRange before = edit::effectiveTrim(settings, length.duration);
    model::ProjectSettings next = settings;
    next.trimStart = std::clamp(nearestFrame(start, length.fps), 0.0, before.end);
    next.trimStart = edit::effectiveTrim(next, length.duration).start;
    return next;
}

model::ProjectSettings withTrimEnd(const model::ProjectSettings& settings, double end, const RecordingLength& length) {
    const edit::TrimRange before = edit::effectiveTrim(settings, length.duration);
    const double frame = frameLength(length.fps);
    // The first frame that leaves enough after the start, which need not lie on a frame.
    const double least = std::ceil((before.start + edit::kMinimumKept) / frame - kSliver) * frame;
    const double fitting = std::max(nearestFrame(end, length.fps), least);
    model::ProjectSettings next = settings;
    next.trimEnd = fitting > length.duration - frame / 2 ? 0 : fitting;
    // A start that a document sets too late would follow the end.
    if (edit::effectiveTrim(next, length.duration).start != before.start) next.trimStart = before.start;
    return next;
}

}  // namespace lumivastor::editor
