// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/interval.h"
#include "base/media_time.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "imaging/painting/painter.h"
#include "imaging/picture_pool.h"
#include "playback/fitted_frame.h"
#include "playback/frame_prefetcher.h"
#include "playback/played_ranges.h"
#include "playback/player.h"
#include "playback/player_item.h"
#include "playback/stand_in.h"

namespace lumivastor::playback {

/// The pictures of a player: takes decoded ones from a prefetcher for each track, has the compositor make the recipe,
/// paints it and delivers it when it is due, all on its own thread. While playing, it makes one frame ahead. If making
/// frames keeps taking longer than showing them, it makes a frame as far ahead as that takes and skips those in
/// between.
///
/// It is controlled by orders, which the caller numbers in ascending order: a newer one replaces the one in progress.
/// Everything but the callbacks belongs to the player's thread.
class PlayerPictures {
  public:
    /// The clock while playing. Called on the pictures' thread.
    struct Clock {
        std::function<double()> position;
        std::function<double()> elapsed;  // since playing began, without the parts that were jumped over
        std::function<bool()> isFinished;
    };
    /// Called on the pictures' thread; must not call this object, nor block.
    struct Callbacks {
        /// A frame, or null when there is none. A stand-in comes first, if at all, and is never null.
        std::function<void(std::int64_t order, const Player::Frame& frame, double seconds, Player::FrameKind kind)>
            show;
        /// Playing reached the end of the played ranges.
        std::function<void(std::int64_t order)> ended;
        /// Frames cannot be made; the same reason is not reported twice in a row.
        std::function<void(const RecorderError& error)> failed;
    };

    PlayerPictures(const PlayerItem& item, PlayedRanges ranges, PixelSize available, Clock clock, Callbacks callbacks);
    /// Waits for the frame in progress. No callback runs after this has returned.
    ~PlayerPictures();
    PlayerPictures(const PlayerPictures&) = delete;
    PlayerPictures& operator=(const PlayerPictures&) = delete;

    /// Shows the exact frame of a moment, and shows it again when it changes.
    void stand(std::int64_t order, double seconds);
    /// Shows frames by the clock.
    void play(std::int64_t order);

    void setCompositor(VideoCompositor compositor);
    void setWebcamShift(double seconds);
    void setRanges(PlayedRanges ranges);
    void setAvailable(PixelSize available);
    void setSmallStandIns(SmallStandIns find);

    Player::Statistics statistics() const;

  private:
    using Seconds = std::optional<double>;
    struct Wish {
        std::int64_t order = 0;
        bool isPlaying = false;
        double still = 0;
        double asked = 0;  // host seconds of the order
        std::shared_ptr<const VideoCompositor> compositor;
        std::shared_ptr<const SmallStandIns> smallStandIns;  // null: none
        std::shared_ptr<const PlayedRanges> ranges;
        PixelSize available;
        double webcamShift = 0;
        std::int64_t change = 0;  // counts changes that make the same moment look different
    };
    // The pictures of the tracks at a moment.
    struct Sources {
        ShownPicture screen;
        std::optional<imaging::Picture> webcam;
    };
    struct Made {
        std::int64_t order = -1;
        std::int64_t change = -1;
        double seconds = 0;
        MediaTime screenStart;
        Player::Frame frame;
    };

    template <typename Change>
    void tell(Change change);
    void wake();
    void run();
    Seconds stand(const Wish& wish);
    void lookAround(const Wish& wish);
    Seconds standIn(const Wish& wish, double seconds);
    Seconds playOn(const Wish& wish);
    Seconds frameToMake(const Wish& wish, double heard);
    bool prepare(const Wish& wish, double frame, double heard);
    void setGoals(const Wish& wish, const std::vector<TimeRange>& goals, const MediaTime& playhead);
    MediaTime inWebcam(const Wish& wish, const MediaTime& moment) const;
    void aimAt(const Wish& wish, double frame, double heard);
    std::optional<Sources> sourcesAt(const Wish& wish, const MediaTime& moment) const;
    std::optional<Sources> staleSources(const Wish& wish, double frame) const;
    std::optional<ShownPicture> nearestDecoded(const Wish& wish, double seconds) const;
    std::optional<Sources> standInSources(const Wish& wish, double seconds) const;
    std::optional<imaging::Picture> standInWebcam(const Wish& wish, const MediaTime& moment,
                                                  const TimeRange& stretch) const;
    Made make(const Wish& wish, const Sources& sources, double seconds);
    Player::Frame paint(const Wish& wish, const imaging::Picture& screen, const std::optional<imaging::Picture>& webcam,
                        double seconds);
    void fail(const RecorderError& error);
    void reportSupplies();

    const PixelSize canvas_;
    const Clock clock_;
    const Callbacks callbacks_;
    std::unique_ptr<FramePrefetcher> screen_;  // none: no track
    std::unique_ptr<FramePrefetcher> webcam_;
    Interval webcamPictures_;  // where the timeline has some

    std::mutex lock_;
    std::condition_variable wake_;
    Wish wish_;              // guarded by lock_
    bool isNews_ = false;    // guarded by lock_
    bool isEnding_ = false;  // guarded by lock_

    std::atomic<std::int64_t> framesShown_{0};
    std::atomic<std::int64_t> framesDropped_{0};
    std::atomic<std::int64_t> seeksFromCache_{0};
    std::atomic<std::int64_t> standInsShown_{0};

    // The thread's.
    imaging::Painter painter_;
    std::unique_ptr<imaging::PicturePool> pool_;
    std::optional<imaging::Picture> paintedRecipe_;
    Player::Frame painted_;
    double making_ = 0;        // how long the last frame took to make, by the clock
    double makingBefore_ = 0;  // and the one before it
    Made made_;                // the frame that is shown or comes next
    std::int64_t begun_ = -1;  // the order that the rest is about
    Seconds shown_;            // the frame shown last while playing
    MediaTime shownScreen_;    // where its screen picture begins
    bool isEndTold_ = false;
    PlayheadMotion motion_;
    Made standIn_;               // for the order and change that it has; a null frame if there was none
    Seconds standInShown_ = {};  // host seconds of the last one
    double stoodAt_ = 0;         // host seconds when the still frame was shown
    bool isPrefetching_ = false;
    std::string lastFailure_;
    bool isScreenReported_ = false;
    bool isWebcamReported_ = false;

    std::thread thread_;  // last: it uses everything above
};

}  // namespace lumivastor::playback
