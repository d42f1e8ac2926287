#include "imaging/axis_placement.h"

#include <cmath>

#include "imaging/resampling.h"

namespace lumivastor {

void AxisSteps::turnOver(double gridLength, double sourceLength) {
    const auto turned = [](const Interval& interval, double length) {
        return Interval{length - interval.high, length - interval.low};
    };
    for (Clamp& step : clamps) {
        step.visible = turned(step.visible, gridLength);
        step.extent = turned(step.extent, gridLength);
    }
    visible = turned(visible, gridLength);
    readable = turned(readable, sourceLength);
    translate = gridLength - (sourceLength * scale + translate);
}

PlacedAxis placed(const AxisSteps& steps, const Interval& extent, int count, double offset, double length) {
    PlacedAxis axis;
    axis.positions.resize(static_cast<std::size_t>(count));
    axis.lows.resize(axis.positions.size());
    axis.highs.resize(axis.positions.size());
    std::vector<std::int16_t> levels(axis.positions.size());
    const Interval last = shared(steps.visible, extent);
    AxisSpan span{count, 0};
    AxisSpan full{count, count};
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        double position = i + offset;
        const double before = position - std::max(position - 0.5, 0.0);
        const double after = std::min(position + 0.5, length) - position;
        double part = 1;
        const auto partOf = [&](const Interval& interval) {
            return sharedLength(position - before, position + after, interval.low, interval.high) / (before + after);
        };
        for (const auto& step : steps.clamps) {
            part *= partOf(step.visible);
            const double from = step.extent.low + before;
            const double to = step.extent.high - after;
            position = from < to ? std::clamp(position, from, to) : (from + to) / 2;
        }
        part *= partOf(last);
        axis.positions[at] = position;
        axis.lows[at] = std::max(position - before, last.low);
        axis.highs[at] = std::min(position + after, last.high);
        // A part that no 8-bit sample can show counts as nothing, or as everything.
        levels[at] = static_cast<std::int16_t>(std::lround(part * kFullLevel));
        if (levels[at] == 0) continue;
        span = {std::min(span.begin, i), i + 1};
        if (levels[at] == kFullLevel) {
            if (full.begin == count) full = {i, i};
            if (full.end == i) full.end = i + 1;
        }
    }
    if (span.begin >= span.end) return axis;
    axis.coverage.span = span;
    axis.coverage.full = full.begin < full.end ? full : AxisSpan{span.begin, span.begin};
    axis.coverage.levels.assign(levels.begin() + span.begin, levels.begin() + span.end);
    return axis;
}

}  // namespace lumivastor
