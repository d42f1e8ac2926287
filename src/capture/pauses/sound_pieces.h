// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
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

/// The same for the buffers of one track in their order. The first sound behind a pause may begin later than the pause
/// ended: a source that delivers ahead of the time has given what lies between while it was still paused. One thread at
/// a time.
class SoundCutter {
  public:
    std::vector<SoundPiece> pieces(const Pauses& pauses, const platform::SoundBuffer& sound);

  private:
    std::ptrdiff_t ended_ = 0;  // pauses before what was given last
};

}  // namespace lumivastor::capture
