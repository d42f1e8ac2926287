// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lumivastor::media {

// The 4x4 transform of residuals and its quantisation (ITU-T H.264, 8.5). Blocks are in raster order. The inverse is
// the standard's, bit for bit; how levels are chosen is our own decision.

using Levels4x4 = std::array<std::int16_t, 16>;
using Coefficients4x4 = std::array<std::int32_t, 16>;

/// QP'C of a luma QP (table 8-15), for 8 bits.
int chromaQp(int lumaQp, int chromaQpIndexOffset);

/// From which remainder on a level is rounded up: 1 - dead zone. Intra blocks, and text in general, keep what matters
/// with two thirds; what is left of a camera's noise from picture to picture is not worth its bits, and needs four
/// fifths.
enum class Rounding : std::uint8_t { upFromTwoThirds, upFromFourFifths };

/// What quantising needs for one QP, 0 to 51.
struct Quantiser {
    std::array<std::int32_t, 16> forward{};  // multiplies a coefficient, at `shift` bits behind the point
    std::array<std::int32_t, 16> scale{};    // LevelScale4x4 of a flat matrix, / 16, << QP / 6
    int shift = 0;
    int qp = 0;
};
const Quantiser& quantiserFor(int qp);

/// The coefficients of source - prediction.
Coefficients4x4 forwardTransform(const std::uint8_t* source, std::ptrdiff_t sourceStride,
                                 const std::uint8_t* prediction, std::ptrdiff_t predictionStride);

/// Levels of the coefficients. Returns whether any is not zero.
bool quantise(const Coefficients4x4& coefficients, const Quantiser& quantiser, Rounding rounding, Levels4x4& levels);

/// The coefficients that a decoder has for these levels.
Coefficients4x4 scaled(const Levels4x4& levels, const Quantiser& quantiser);

/// Adds the inverse transform to `samples` (8.5.12.2, 8.5.14). False when a sum on the way exceeds 16 bits, which no
/// stream may cause; `samples` are undefined then.
[[nodiscard]] bool addInverseTransform(const Coefficients4x4& coefficients, std::uint8_t* samples,
                                       std::ptrdiff_t stride);

/// The second transform over the 16 DC coefficients of a macroblock that is predicted as a whole, in raster order of
/// its blocks: the levels, and the DC coefficients that a decoder has for them (8.5.10).
Levels4x4 quantiseLumaDc(const Coefficients4x4& dc, const Quantiser& quantiser);
Coefficients4x4 scaledLumaDc(const Levels4x4& levels, const Quantiser& quantiser);

/// The same for the four DC coefficients of a chroma plane (8.5.11).
std::array<std::int16_t, 4> quantiseChromaDc(const std::array<std::int32_t, 4>& dc, const Quantiser& quantiser);
std::array<std::int32_t, 4> scaledChromaDc(const std::array<std::int16_t, 4>& levels, const Quantiser& quantiser);

}  // namespace lumivastor::media
