// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>

namespace lumivastor::playback {

/// Maps the number of frames heard in a run to a moment of the source: the run's sound jumps over cuts, and it is
/// silent while the source cannot be read fast enough. Counts all frames at one rate. A plain value.
class PlaybackPositionMap {
  public:
    /// Begins a run at a frame of the source.
    void start(std::int64_t sourceFrame);

    /// `count` frames of the source from `sourceFrame` on were given to the output.
    void wrote(std::int64_t count, std::int64_t sourceFrame);
    /// `count` frames of silence were given to it that are no part of the source.
    void waited(std::int64_t count);

    /// The source frame that is heard when `heard` frames of the run have been heard: at a jump, its target; behind
    /// everything written, the frame that follows the last. Forgets what came before, so `heard` must not decrease.
    std::int64_t sourceAt(std::int64_t heard);

    /// Frames of the run up to the end of the last sound that was given.
    std::int64_t soundEnd() const { return soundEnd_; }

  private:
    // `count` frames of the run from `runStart` on: either from the source, or silence of that length.
    struct Piece {
        std::int64_t runStart = 0;
        std::int64_t count = 0;
        std::int64_t source = 0;
        bool advances = false;

        std::int64_t runEnd() const { return runStart + count; }
        std::int64_t sourceEnd() const { return advances ? source + count : source; }
    };

    void add(const Piece& piece);

    std::deque<Piece> pieces_;
    std::int64_t written_ = 0;
    std::int64_t soundEnd_ = 0;
    std::int64_t source_ = 0;  // the frame behind what has been forgotten
};

}  // namespace lumivastor::playback
