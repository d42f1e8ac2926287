// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "media/reading/samples.h"

// Where a cut joins two stretches of sound, the waveform jumps, which is heard as a click. Sound is therefore faded out
// before a join and faded in behind it. Nothing is moved or changes its length. Exports and the preview sound the same.
//
//     loudness   1 ────────╮     ╭────────
//                           ╲   ╱
//                0           ╲ ╱
//                     2.5 ms  │  2.5 ms
//                           join

namespace lumivastor::media {

/// A stretch of the sound that is heard: from frame `start` up to `end`, counted at one rate.
struct SoundStretch {
    std::int64_t start = 0;
    std::int64_t end = 0;
    /// Whether a cut joins it to the stretch before, and to the one behind. The ends of a film are not joins.
    bool isJoinedBefore = false;
    bool isJoinedBehind = false;
};

/// The length of a fade in frames: a compromise between a click and a hole.
constexpr std::int64_t joinFrames(int sampleRate) {
    return sampleRate / 400;
}

/// The factor for a frame of a stretch, 0 to 1; 1 everywhere but close to joins. In a stretch shorter than two fades,
/// each takes half.
float joinGain(const SoundStretch& stretch, std::int64_t frame, int sampleRate);

/// Applies the factors to interleaved frames of the stretch, the first of which is `frame`.
void softenJoins(const SoundStretch& stretch, std::int64_t frame, std::span<float> values, const PcmFormat& format);

}  // namespace lumivastor::media
