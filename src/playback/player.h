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

namespace lumivastor::playback {

/// Plays an item: decodes ahead, lets the compositor make a recipe of every frame, paints it at the size that it is
/// shown at, and hands it over when its time has come. The sound card is the clock; without sound, or when the sound
/// server goes away, the host clock is. A machine that is too slow loses pictures, never sound.
///
/// While paused, the frame at `currentTime` stands. Playing goes through the item's played ranges only and jumps to the
/// next one from wherever there is none; seeking reaches every moment of the timeline.
///
/// Everything here belongs to the main thread, and every callback comes on it, through the main loop; none comes from
/// within a call, and none after the player was destroyed. A callback may call the player, but not destroy it.
class Player {
  public:
    /// `output` may be null: then nothing is heard and the host clock is the clock.
    Player(MainLoop& mainLoop, std::unique_ptr<platform::SoundOutput> output);
    /// Ends playing and waits for the frame that is being made.
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Shows another item from its beginning, paused. A seek that is under way ends unfinished.
    void setItem(PlayerItem item);

    // These change the item while it goes on playing.

    /// The next frame is made with this one; the frame that stands while paused is made again at once.
    void setVideoCompositor(VideoCompositor compositor);
    /// Heard within a tenth of a second.
    void setAudioMix(const std::vector<media::AudioMixInput>& audioMix);
    /// Playing that is in what is left out now jumps ahead within a tenth of a second. Equal ranges change nothing.
    void setPlayedRanges(std::vector<Interval> ranges);

    /// How large the frame is shown, in the screen's pixels: frames have the largest size of the canvas's shape that
    /// fits into this, and never more than the canvas's own. The canvas's own until set. At least 1.
    void setOutputSize(int width, int height);

    /// Goes on from `currentTime`. Where nothing is left to play, playing ends at once.
    void play();
    /// Stops on the frame of what is heard, which `currentTime` then names.
    void pause();
    /// 1 while playing, 0 while not.
    double rate() const;

    /// Seconds of the timeline: while playing, what is heard now; otherwise the moment of the frame that stands, or
    /// that is being sought.
    double currentTime() const;

    /// Goes to a moment, limited to the timeline, and shows its frame: of each track the very picture that is shown
    /// then, the last one at or before it, and the compositor gets `seconds` as they are. `completion` says true when
    /// the frame has been handed over (or when there is none to be had), false when another seek, or another item, took
    /// its place before. Playing goes on from there.
    void seek(double seconds, std::function<void(bool finished)> completion = {});

    using Frame = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;

    /// A frame to be shown now, and its moment. A frame that looks like the one before is the same buffer. When the
    /// main thread comes late, it gets the latest.
    void onFrame(std::function<void(const Frame& frame, double seconds)> callback);
    /// Every 1/30 s while playing.
    void onTimeChanged(std::function<void(double seconds)> callback);
    /// Playing has come to the end of what is played; it is paused on the last frame of that.
    void onPlayedToEnd(std::function<void()> callback);
    /// Something the user should know: no sound, or pictures that cannot be made. The player goes on without.
    void onError(std::function<void(const RecorderError& error)> callback);

    /// What has happened since the item was set, for tests.
    struct Statistics {
        std::int64_t framesShown = 0;      // handed over while playing
        std::int64_t framesDropped = 0;    // that should have been, too
        std::int64_t picturesDecoded = 0;  // of both tracks
        std::int64_t seeksFromCache = 0;   // that needed no decoding
    };
    Statistics statistics() const;

  private:
    class Core;
    std::shared_ptr<Core> core_;
};

}  // namespace lumivastor::playback
