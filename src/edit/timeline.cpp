// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/timeline.h"

#include <algorithm>

namespace lumivastor::edit {

namespace {

// Shorter than any picture; a media timeline cannot hold a segment without length.
constexpr double kSliver = 0.001;
// A trim end up to here means that none was set.
constexpr double kNoTrimEnd = 0.01;
constexpr double kLeastKept = 0.5;

}  // namespace

TrimRange effectiveTrim(const model::ProjectSettings& settings, double duration) {
    const bool endIsSet = settings.trimEnd > kNoTrimEnd && settings.trimEnd <= duration;
    const double end = endIsSet ? settings.trimEnd : duration;
    return {std::clamp(settings.trimStart, 0.0, std::max(end - kLeastKept, 0.0)), end};
}

std::vector<KeptSegment> keptSegments(const TrimRange& trim, std::vector<model::CutRange> cuts) {
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const model::CutRange& a, const model::CutRange& b) { return a.start < b.start; });
    std::vector<KeptSegment> segments;
    double cursor = trim.start;
    for (const model::CutRange& cut : cuts) {
        const double start = std::max(cut.start, trim.start);
        const double end = std::min(cut.end, trim.end);
        if (!(start < end)) continue;
        if (cursor + kSliver < start) segments.push_back({cursor, start});
        cursor = std::max(cursor, end);
    }
    if (cursor + kSliver < trim.end) segments.push_back({cursor, trim.end});
    return segments;
}

double outputDuration(std::span<const KeptSegment> segments) {
    double sum = 0;
    for (const KeptSegment& segment : segments) sum += segment.end - segment.start;
    return sum;
}

double sourceTime(std::span<const KeptSegment> segments, double t) {
    if (segments.empty()) return t;
    double remaining = t;
    for (const KeptSegment& segment : segments) {
        const double length = segment.end - segment.start;
        if (remaining < length) return segment.start + remaining;
        remaining -= length;
    }
    return segments.back().end;
}

}  // namespace lumivastor::edit
