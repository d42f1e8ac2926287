// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/axis_placement.h"

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
    axis.isPlain = steps.clamps.empty();
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
    const std::size_t last = std::max(firstAt(shown.high + 1), first);  // crops may leave nothing
    AxisCoverage coverage;
    coverage.levels.reserve(last - first);
    // Without clamps no sample further inside than half of one is cut.
    const std::size_t firstInside = std::min(firstAt(shown.low + 1), last);
    const std::size_t lastInside = std::max(std::min(firstAt(shown.high - 1), last), firstInside);
    for (std::size_t at = first; at < last; ++at) {
        if (samples.isPlain && at == firstInside && at < lastInside) {
            // All of them are full.
            if (coverage.levels.empty()) coverage.span.begin = static_cast<int>(at);
            if (coverage.full.begin == coverage.full.end) coverage.full = {static_cast<int>(at), static_cast<int>(at)};
            coverage.full.end = coverage.span.end = static_cast<int>(lastInside);
            coverage.levels.resize(coverage.levels.size() + lastInside - at, static_cast<std::int16_t>(kFullLevel));
            at = lastInside;
            if (at == last) break;
        }
        const double low = samples.positions[at] - samples.befores[at];
        const double high = samples.positions[at] + samples.afters[at];
        // Most samples lie inside.
        auto level = static_cast<std::int16_t>(kFullLevel);
        if (low < shown.low || high > shown.high || samples.parts[at] < 1) {
            const double part = samples.parts[at] * (sharedLength(low, high, shown.low, shown.high) /
                                                     (samples.befores[at] + samples.afters[at]));
            // A part that no 8-bit sample can show counts as nothing, or as everything.
            // Not negative, so this rounds; std::lround would be a call for each sample.
            level = static_cast<std::int16_t>(part * kFullLevel + 0.5);  // NOLINT(bugprone-incorrect-roundings)
        }
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
