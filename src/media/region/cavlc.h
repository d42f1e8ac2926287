// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media/writing/h264_bitstream.h"

namespace lumivastor::media::cavlc {

/// Which table codes the number of a block's coefficients: the mean of the neighbours' numbers (9.2.1), or chroma DC.
inline constexpr int kChromaDc = -1;

/// Writes a block of transform coefficient levels in the order of scanning (7.3.5.3.2, 9.2): 4, 15 or 16 of them.
/// Returns how many are not zero; nullopt when a level is too large for the code in the profiles that we write
/// (level_prefix above 15). What was written then is to be taken back.
std::optional<int> writeResidualBlock(BitWriter& writer, std::span<const std::int16_t> levels, int nC);

}  // namespace lumivastor::media::cavlc
