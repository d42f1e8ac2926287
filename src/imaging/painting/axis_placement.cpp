// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/axis_placement.h"

#include <cmath>

#include "imaging/painting/resampling.h"

namespace lumivastor::imaging {

void AxisSteps::turnOver(double gridLength, double sourceLength) {
    const auto turned = [](const AxisInterval& interval, double length) {
        return AxisInterval{length - interval.high, length - interval.low};
    };
    for (Clamp& step : clamps) {
        step.visible = turned(step.visible, gridLength);
        step.extent = turned(step.extent, gridLength);
    }
    visible = turned(visible, gridLength);
    readable = turned(readable, sourceLength);
    translate = gridLength - (sourceLength * scale + translate);
}

SampledAxis sampled(const AxisSteps& steps, int count, double offset, double length) {
    SampledAxis axis;
    for (auto* values : {&axis.positions, &axis.befores, &axis.afters, &axis.parts}) {
        values->resize(static_cast<std::size_t>(count));
    }
    for (int i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        double position = i + offset;
        const double before = position - std::max(position - 0.5, 0.0);
        const double after = std::min(position + 0.5, length) - position;
        double part = 1;
        for (const auto& step : steps.clamps) {
            part *= sharedLength(position - before, position + after, step.visible.low, step.visible.high) /
                    (before + after);
            const double from = step.extent.low + before;
            const double to = step.extent.high - after;
            position = from < to ? std::clamp(position, from, to) : (from + to) / 2;
        }
        axis.positions[at] = position;
        axis.befores[at] = before;
        axis.afters[at] = after;
        axis.parts[at] = part;
    }
    return axis;
}

AxisCoverage coverageOf(const SampledAxis& samples, const AxisInterval& shown) {
    // No square reaches further than half a sample; looking at one more costs nothing and forgives rounding.
    const auto begin = samples.positions.begin();
    const auto firstAt = [&](double position) {
        return static_cast<std::size_t>(std::lower_bound(begin, samples.positions.end(), position) - begin);
    };
    const std::size_t first = firstAt(shown.low - 1);
    const std::size_t last = firstAt(shown.high + 1);
    AxisCoverage coverage;
    for (std::size_t at = first; at < last; ++at) {
        const double low = samples.positions[at] - samples.befores[at];
        const double high = samples.positions[at] + samples.afters[at];
        const double part = samples.parts[at] * (sharedLength(low, high, shown.low, shown.high) /
                                                 (samples.befores[at] + samples.afters[at]));
        // A part that no 8-bit sample can show counts as nothing, or as everything.
        const auto level = static_cast<std::int16_t>(std::lround(part * kFullLevel));
        const auto i = static_cast<int>(at);
        if (level == 0 && coverage.levels.empty()) continue;
        if (coverage.levels.empty()) coverage.span = {i, i};
        coverage.levels.push_back(level);
        if (level != 0) coverage.span.end = i + 1;
        if (level != kFullLevel) continue;
        if (coverage.full.begin == coverage.full.end) coverage.full = {i, i};
        if (coverage.full.end == i) coverage.full.end = i + 1;
    }
    coverage.levels.resize(static_cast<std::size_t>(coverage.span.end - coverage.span.begin));
    if (coverage.full.begin == coverage.full.end) coverage.full = {coverage.span.begin, coverage.span.begin};
    return coverage;
}

}  // namespace lumivastor::imaging
