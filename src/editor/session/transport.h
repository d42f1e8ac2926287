// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

#include "edit/timeline.h"
#include "editor/session/seek_queue.h"

namespace lumivastor::editor {

/// The functions of a player that the transport needs.
struct PlayerControls {
    std::function<void()> play;
    /// Pauses and returns the time of the frame that is shown now.
    std::function<double()> pause;
    SeekQueue::Seek seek;
};

/// Moves the playhead: play, steps, scrubbing. Times are seconds of the recording. The playhead can go to parts that
/// trims and cuts leave out, but they are not played. While paused and without a seek under way, the playhead is the
/// time of the frame that is shown. Main thread.
class Transport {
  public:
    struct Options {
        double duration = 0;  // of the recording
        std::int64_t fps = 60;
        /// The playhead has moved, or playing has started or ended.
        std::function<void()> changed;
    };

    Transport(PlayerControls player, Options options);

    double playhead() const { return playhead_; }
    bool isPlaying() const { return playing_; }
    double duration() const { return options_.duration; }

    /// Sets the part that is played: from `trim.start` to `lastKept`, the end of the last kept segment.
    void setPlayed(const edit::TrimRange& trim, double lastKept);

    /// The play button. At the end of the played part, or behind it, playing starts again at its beginning.
    void toggle();
    void pause();
    /// Moves by one frame or one second; back if negative.
    void step(double seconds);
    /// The time slider is dragged.
    void scrub(double seconds);
    /// Goes to the time of an edit. Playing continues from there.
    void jump(double seconds);

    /// The player shows a stand-in for the frame that is sought.
    void standInShown() { seeks_.letOvertake(); }
    /// The player's time while it plays.
    void timePassed(double seconds);
    /// The player has played to the end, and shows the frame of this time.
    void ended(double seconds);

  private:
    void moveTo(double seconds);
    void standAt(double seconds);

    const PlayerControls player_;
    const Options options_;
    SeekQueue seeks_;
    double playhead_ = 0;
    double firstPlayed_ = 0;
    double lastPlayed_ = 0;
    bool playing_ = false;
    bool atEnd_ = false;  // played to the end, and not moved since
};

}  // namespace lumivastor::editor
