// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>

#include "edit/timeline.h"
#include "editor/session/seek_queue.h"

namespace lumivastor::editor {

/// What plays: the part of a player that the transport needs.
struct PlayerControls {
    std::function<void()> play;
    /// Stops, and says at which moment of the recording: that of the frame that stands now.
    std::function<double()> pause;
    SeekQueue::Seek seek;
};

/// The playhead: what play, stepping and scrubbing do with it. Its times are the recording's own, in seconds; what
/// trims and cuts leave out can be reached but is not played. While nothing plays and no seek is under way, it is the
/// moment of the frame that is shown. Main thread.
class Transport {
  public:
    struct Options {
        double duration = 0;  // of the recording
        std::int64_t fps = 60;
        /// The playhead or what plays has changed.
        std::function<void()> changed;
    };

    Transport(PlayerControls player, Options options);

    double playhead() const { return playhead_; }
    bool isPlaying() const { return playing_; }
    double duration() const { return options_.duration; }

    /// What is played: from `trim.start` on, up to `lastKept`, the end of what trims and cuts leave.
    void setPlayed(const edit::TrimRange& trim, double lastKept);

    /// The play button. At the end, or with nothing left to be played, it begins again at the start of what is played.
    void toggle();
    void pause();
    /// One frame or one second on, or back where negative.
    void step(double seconds);
    /// The time slider is dragged.
    void scrub(double seconds);
    /// Goes where an edit wants to be looked at; what plays goes on from there.
    void jump(double seconds);

    /// The player says where it is while it plays.
    void timePassed(double seconds);
    /// The player has come to the end of what is played, and stands on the frame of a moment.
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
