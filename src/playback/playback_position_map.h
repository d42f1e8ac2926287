// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>

namespace lumivastor::playback {

/// Which moment of the source is heard when so many frames of a run have been: the run's sound jumps over cuts, and it
/// waits, in silence, where the source cannot be read fast enough. Counts frames at one rate throughout. A plain value.
class PlaybackPositionMap {
  public:
    /// Begins a run at a frame of the source.
    void start(std::int64_t sourceFrame);

    /// `count` frames of the source from `sourceFrame` on were given to the output.
    void wrote(std::int64_t count, std::int64_t sourceFrame);
    /// `count` frames of silence were given to it that stand for nothing.
    void waited(std::int64_t count);

    /// The source frame that is heard when `heard` frames of the run have been: at a jump, the one jumped to. Behind
    /// everything written, the one that follows the last. Forgets what came before, so `heard` never goes back.
    std::int64_t sourceAt(std::int64_t heard);

    /// Frames of the run up to the end of the last sound that was given.
    std::int64_t soundEnd() const { return soundEnd_; }

  private:
    // `count` frames of the run from `runStart` on: either of the source, or silence for as long.
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
    std::int64_t source_ = 0;  // follows what has been forgotten
};

}  // namespace lumivastor::playback
