// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "capture/pauses/pauses.h"
#include "platform/sound_buffer.h"

namespace lumivastor::capture {

/// The parts of live sound that are outside of all pauses, to the frame, with movie times in place of host times. Sound
/// fades out before a pause and in behind it, so that the join does not click (docs/decisions/0010-joins-of-sound.md);
/// a fade does not reach beyond the buffer.
std::vector<platform::SoundBuffer> piecesOutsideOf(const Pauses& pauses, const platform::SoundBuffer& sound);

}  // namespace lumivastor::capture
