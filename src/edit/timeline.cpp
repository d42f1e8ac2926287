// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/timeline.h"

#include <algorithm>

namespace lumivastor::edit {

namespace {

// Shorter than any picture; a media timeline cannot hold a segment without length.
constexpr double kSliver = 0.001;
// A trim end up to here means that none was set.
constexpr double kNoTrimEnd = 0.01;

}  // namespace

TrimRange effectiveTrim(const model::ProjectSettings& settings, double duration) {
    const bool endIsSet = settings.trimEnd > kNoTrimEnd && settings.trimEnd <= duration;
    const double end = endIsSet ? settings.trimEnd : duration;
    return {std::clamp(settings.trimStart, 0.0, std::max(end - kMinimumKept, 0.0)), end};
}

std::vector<Interval> keptSegments(const TrimRange& trim, std::vector<model::CutRange> cuts) {
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const model::CutRange& a, const model::CutRange& b) { return a.start < b.start; });
    std::vector<Interval> segments;
    double cursor = trim.start;
    for (const model::CutRange& cut : cuts) {
        const Interval removed = intersection(Interval{cut.start, cut.end}, {trim.start, trim.end});
        if (removed.isEmpty()) continue;
        if (cursor + kSliver < removed.start) segments.push_back({cursor, removed.start});
        cursor = std::max(cursor, removed.end);
    }
    if (cursor + kSliver < trim.end) segments.push_back({cursor, trim.end});
    return segments;
}

double outputDuration(std::span<const Interval> segments) {
    double sum = 0;
    for (const Interval& segment : segments) sum += segment.length();
    return sum;
}

double sourceTime(std::span<const Interval> segments, double t) {
    if (segments.empty()) return t;
    double remaining = t;
    for (const Interval& segment : segments) {
        if (remaining < segment.length()) return segment.start + remaining;
        remaining -= segment.length();
    }
    return segments.back().end;
}

std::optional<double> outputTime(std::span<const Interval> segments, double t) {
    double before = 0;
    for (const Interval& segment : segments) {
        if (t < segment.start) return std::nullopt;
        if (t < segment.end) return before + t - segment.start;
        before += segment.length();
    }
    if (segments.empty() || t > segments.back().end) return std::nullopt;
    return before;
}

}  // namespace lumivastor::edit
