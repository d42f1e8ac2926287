// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/damage_area.h"
#include "imaging/yuv_picture.h"
#include "media/region/region_coder.h"

namespace lumivastor::media {

// What differs between two pictures of one size, macroblock by macroblock. Samples are compared exactly, in all planes.

/// One entry for each macroblock, row by row: whether it differs.
using MacroblockMap = std::vector<std::uint8_t>;

/// Marks the macroblocks in which the pictures differ, of all or only of those that `damage` touches; the rest is the
/// same then. Returns how many there are.
int markChanges(const imaging::YuvPicture& picture, const imaging::YuvPicture& before,
                const imaging::KnownDamage& damage, MacroblockMap& changed);

/// Whether the pictures agree in a macroblock, as far as it is shown.
bool isSame(const imaging::YuvPicture& picture, const imaging::YuvPicture& before, int mbX, int mbY);

/// How a macroblock agrees with what `before` shows at a displacement.
enum class Move {
    none,
    /// Luma is exact. Chroma lies between samples, as at every odd displacement, and the screen's own mean of two other
    /// lines is not the decoder's (8.4.2.2.2). So faint are its colours that nobody sees the difference, and that no
    /// number of steps, each of which blurs them a little more, can take them far from what they should be.
    faint,
    exact,
};

/// `none` where either is not all within the picture.
Move findMove(const imaging::YuvPicture& picture, const imaging::YuvPicture& before, int mbX, int mbY,
              const Displacement& displacement);

/// How far most of what changed was moved up or down, `reach` lines at most, by asking a few busy macroblocks; nullopt
/// if they do not agree. It takes as long as the reach: 0.3 ms for 400.
std::optional<Displacement> findScroll(const imaging::YuvPicture& picture, const imaging::YuvPicture& before,
                                       const MacroblockMap& changed, int reach);

}  // namespace lumivastor::media
