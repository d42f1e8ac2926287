// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "media/reading/samples.h"

// Where a cut joins two stretches of sound, the wave jumps from wherever it was to wherever it goes on, which clicks.
// So sound falls silent towards a join and comes back behind it. Nothing is moved, and nothing gets longer or shorter.
// Exports and the preview hear the same.
//
//     loudness   1 ────────╮     ╭────────
//                           ╲   ╱
//                0           ╲ ╱
//                     2.5 ms  │  2.5 ms
//                           join

namespace lumivastor::media {

/// A stretch of sound in what is heard: from frame `start` up to `end`, counted at one rate.
struct SoundStretch {
    std::int64_t start = 0;
    std::int64_t end = 0;
    /// Whether a cut joins it with what is heard before it, and behind it. The ends of a film are no joins.
    bool isJoinedBefore = false;
    bool isJoinedBehind = false;
};

/// How many frames sound takes to fall silent towards a join, or to come back: a compromise between a click and a hole.
constexpr std::int64_t joinFrames(int sampleRate) {
    return sampleRate / 400;
}

/// The factor for a frame of a stretch, 0 to 1; 1 everywhere but close to joins. In a stretch that is shorter than two
/// slopes they share it.
float joinGain(const SoundStretch& stretch, std::int64_t frame, int sampleRate);

/// Applies the factors to interleaved frames of the stretch, the first of which is `frame`.
void softenJoins(const SoundStretch& stretch, std::int64_t frame, std::span<float> values, const PcmFormat& format);

}  // namespace lumivastor::media
