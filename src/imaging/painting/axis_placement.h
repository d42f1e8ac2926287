// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "imaging/painting/axis_table.h"

// Where the samples of one axis of a grid lie in a picture, after all transforms, crops and clamps above it.

namespace lumivastor::imaging {

inline constexpr double kEndless = std::numeric_limits<double>::infinity();

/// An interval on an axis; endless by default.
struct AxisInterval {
    double low = -kEndless;
    double high = kEndless;
};

/// The intersection; `high` is below `low` when there is none.
inline AxisInterval shared(const AxisInterval& a, const AxisInterval& b) {
    return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

/// The combined effect of the steps above the current one on an axis. All but `readable` is in grid coordinates. The
/// vertical axis counts from the bottom until the layer at the end flips it.
struct AxisSteps {
    struct Clamp {
        AxisInterval visible;  // what the crops before it leave
        AxisInterval extent;
    };
    std::vector<Clamp> clamps;
    AxisInterval visible;   // what the crops since the last clamp leave
    AxisInterval readable;  // in the current step's own coordinates
    double scale = 1;       // from the step's space to the grid
    double translate = 0;

    AxisInterval toGrid(double low, double high) const { return {low * scale + translate, high * scale + translate}; }

    void transform(double stepScale, double stepTranslate) {
        translate += stepTranslate * scale;
        scale *= stepScale;
        readable = {(readable.low - stepTranslate) / stepScale, (readable.high - stepTranslate) / stepScale};
    }
    void crop(double low, double high) {
        visible = shared(visible, toGrid(low, high));
        readable = {std::clamp(readable.low, low, high), std::clamp(readable.high, low, high)};
    }
    void clamp(double low, double high) {
        clamps.push_back({visible, toGrid(low, high)});
        visible = {};
    }
    /// Where no crop cuts through a sample that lies further inside than it reaches; in grid coordinates.
    AxisInterval uncut() const {
        AxisInterval interval = visible;
        for (const Clamp& step : clamps) interval = shared(interval, shared(step.visible, step.extent));
        return interval;
    }
    /// The same, counted from the opposite ends of a grid and a source of these lengths.
    void turnOver(double gridLength, double sourceLength);
};

/// How much of each sample of an axis a layer covers.
struct AxisCoverage {
    AxisSpan span;                     // where it is above 0
    AxisSpan full;                     // where it is full
    std::vector<std::int16_t> levels;  // for the span
};

/// The samples of an axis after all clamps, in grid coordinates; ascending.
struct SampledAxis {
    std::vector<double> positions;
    std::vector<double> befores, afters;  // how far each sample's square reaches to either side, at most 0.5
    std::vector<double> parts;            // the part of each square that the crops above the last clamp leave
    bool isPlain = false;                 // there are no clamps: all of these parts are 1
};

/// The `count` samples of a grid's axis, the first of which lies at `offset`; the grid is `length` long. All in grid
/// coordinates.
SampledAxis sampled(const AxisSteps& steps, int count, double offset, double length);

/// How much of each sample lies in `shown`, the part of a layer that the crops since the last clamp leave.
AxisCoverage coverageOf(const SampledAxis& samples, const AxisInterval& shown);

}  // namespace lumivastor::imaging
