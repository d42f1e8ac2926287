// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/interval.h"
#include "base/main_loop.h"
#include "base/recorder_error.h"
#include "imaging/pixel_buffer.h"
#include "platform/sound/sound_output.h"
#include "playback/player_item.h"
#include "playback/stand_in.h"

namespace lumivastor::playback {

/// Plays an item: decodes ahead, has the compositor make the recipe of every frame, paints it at the size at which it
/// is shown, and delivers it when it is due. The sound card is the clock; without sound, or when the sound server is
/// lost, the host clock. A machine that is too slow drops pictures, never sound.
///
/// While paused, it shows the frame at `currentTime`. Playing goes only through the item's played ranges and jumps to
/// the next one from anywhere else; seeking reaches every moment of the timeline.
///
/// All functions belong to the main thread, and every callback runs on it, through the main loop: none within a call,
/// and none after the player's destruction. A callback may call the player, but not destroy it.
class Player {
  public:
    /// `output` may be null: there is then no sound, and the host clock is the clock.
    Player(MainLoop& mainLoop, std::unique_ptr<platform::SoundOutput> output);
    /// Ends playing and waits for the frame in progress.
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Shows another item from its beginning, paused. A seek in progress ends unfinished.
    void setItem(PlayerItem item);

    // These change the item while it plays.

    /// The next frame is made with this one; while paused, the shown frame is made again at once.
    void setVideoCompositor(VideoCompositor compositor);
    /// Shows the webcam's pictures so many seconds later than the movie has them; a still frame is made again at once.
    void setWebcamShift(double seconds);
    /// Heard within a tenth of a second.
    void setAudioMix(const std::vector<media::AudioMixInput>& audioMix);
    /// If the playhead is now outside of the ranges, playing jumps ahead within a tenth of a second. Equal ranges
    /// change nothing.
    void setPlayedRanges(std::vector<Interval> ranges);

    /// Small pictures to be shown until decoded ones are there; an empty function: none. They belong to the item, and
    /// another item begins without them.
    void setSmallStandIns(SmallStandIns find);

    /// How large the frame is shown, in the screen's pixels: frames have the largest size of the canvas's shape that
    /// fits into this, and never more than the canvas's own. The canvas's own by default. At least 1.
    void setOutputSize(int width, int height);

    /// Plays from `currentTime`. If nothing is left to play, playing ends at once.
    void play();
    /// Stops on the frame of the sound that is heard; `currentTime` is then its time.
    void pause();
    /// 1 while playing, 0 while not.
    double rate() const;

    /// Seconds of the timeline: while playing, what is heard now; otherwise the moment of the frame that is shown, or
    /// that is being sought.
    double currentTime() const;

    /// Goes to a moment, limited to the timeline, and shows its frame: from each track exactly the picture that is
    /// shown then, the last one at or before it; the compositor gets `seconds` unrounded. `completion` gets true when
    /// the frame has been delivered (or when there is none), false when another seek, or another item, replaced this
    /// one. Playing continues from there. When decoding takes longer than a display frame, a stand-in is shown first:
    /// the decoded or small picture nearest to the moment in the same played range or gap, if there is one.
    void seek(double seconds, std::function<void(bool finished)> completion = {});

    using Frame = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;
    /// What a frame shows of the screen: the picture of its moment, or, until that is decoded, one from nearby. Nothing
    /// else differs: a stand-in has the camera, the cursor and the settings of its moment.
    enum class FrameKind { exact, standIn };

    /// A frame to be shown now, and its moment. A frame that looks like the one before is the same buffer. When the
    /// main thread is late, it gets only the latest.
    void onFrame(std::function<void(const Frame& frame, double seconds, FrameKind kind)> handler);
    /// Every 1/30 s while playing.
    void onTimeChanged(std::function<void(double seconds)> handler);
    /// Playing has reached the end of the played ranges; it is paused on their last frame.
    void onPlayedToEnd(std::function<void()> handler);
    /// Something that the user should know: there is no sound, or frames cannot be made. The player continues without
    /// them.
    void onError(std::function<void(const RecorderError& error)> handler);

    /// Counters since the item was set, for tests.
    struct Statistics {
        std::int64_t framesShown = 0;      // delivered while playing
        std::int64_t framesDropped = 0;    // that were due, but not delivered
        std::int64_t picturesDecoded = 0;  // of both tracks
        std::int64_t seeksFromCache = 0;   // that needed no decoding
        std::int64_t standInsShown = 0;
    };
    Statistics statistics() const;

  private:
    class Core;
    std::shared_ptr<Core> core_;
};

}  // namespace lumivastor::playback
