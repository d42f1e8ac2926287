// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "base/interval.h"
#include "render/overview/waveform.h"

namespace lumivastor::render {

/// The level up to which a track is quiet: 10 dB above its noise, which is the level that a tenth of its sound stays
/// below, but at least -54 dB and at most -36 dB of full scale. The peaks of noise lie up to 7 dB above that tenth.
/// Music without pauses has no noise in this sense, so the limit keeps it from being quiet.
std::uint8_t quietLevel(const Waveform& waveform);

/// The stretches of 0 to `duration` in which a track is quiet, in the order of time. 0.15 s before and behind sound are
/// not, because words begin and end more softly than that. Where levels end, the track has no more sound.
std::vector<Interval> quietStretches(const Waveform& waveform, double duration);

}  // namespace lumivastor::render
