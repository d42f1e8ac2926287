// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "capture/pauses/pauses.h"
#include "platform/sound_buffer.h"

namespace lumivastor::capture {

/// Sound of a movie, in movie time.
struct SoundPiece : platform::SoundBuffer {
    /// The first behind a pause.
    bool isAfterPause = false;
};

/// The parts of live sound that are outside of all pauses, to the frame, with movie times in place of host times. Sound
/// fades out before a pause and in behind it, so that the join does not click (docs/decisions/0010-joins-of-sound.md);
/// a fade does not reach beyond the buffer.
std::vector<SoundPiece> piecesOutsideOf(const Pauses& pauses, const platform::SoundBuffer& sound);

}  // namespace lumivastor::capture
