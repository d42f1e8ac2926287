// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::imaging {

/// One row of samples of the studio background. Colours are blue, green, red, 0...255; positions in pixels from the
/// first sample.
struct BackgroundRow {
    float light[3] = {};
    float change[3] = {};  // from the light to the dark tone
    float gradientStart = 0;
    float gradientStep = 0;  // per sample
    float spacing = 1;       // of the samples
    float highlightX = 0;
    float highlightY = 0;  // from the highlight's centre to the row
    float highlightReach = 0;
    float highlightAlpha = 0;
};

/// Fills a row of opaque BGRA pixels; vectorised for the machine it runs on. `number` says which row of the dither
/// pattern rounds it. The row's memory must extend to the next multiple of 64 bytes, as in a `BgraPremultipliedBuffer`.
void fillBackgroundRow(const BackgroundRow& row, int number, std::uint8_t* pixels, int width);

/// The weight of each colour in a plane.
struct LevelWeights {
    float blue = 0;
    float green = 0;
    float red = 0;
};

/// The same as levels of one plane (paint_kernels.h), with the pattern added instead of rounding. The row's memory must
/// extend to the next multiple of 32 levels.
void fillBackgroundLevels(const BackgroundRow& row, const LevelWeights& weights, int number, std::int16_t* levels,
                          int width);

}  // namespace lumivastor::imaging
