// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "base/recorder_error.h"
#include "playback/frame_seeker.h"
#include "playback/picture_cache.h"

namespace lumivastor::playback {

/// Decodes one track's pictures ahead, on its own thread, into a cache of a fixed size. The caller sets as goals which
/// stretches come next; new goals take effect after the picture that is being decoded. Any thread.
class FramePrefetcher {
  public:
    struct Options {
        std::string threadName;
        FrameSeeker::Before before = FrameSeeker::Before::nothing;
        std::size_t budget = 0;  // bytes of decoded pictures
    };

    /// `changed` is called on the prefetcher's thread whenever another picture of the goals is available; it must not
    /// call the prefetcher.
    FramePrefetcher(const media::SegmentedTrack& track, const Options& options, std::function<void()> changed);
    /// Waits for the picture that is being decoded.
    ~FramePrefetcher();
    FramePrefetcher(const FramePrefetcher&) = delete;
    FramePrefetcher& operator=(const FramePrefetcher&) = delete;

    /// The stretches to have ready, the most urgent first (see `PictureCache`). When no more of them fits, decoding
    /// pauses.
    void setGoals(std::vector<TimeRange> goals, const MediaTime& playhead);

    /// The picture shown at a moment; nullopt as long as it is not decoded.
    std::optional<ShownPicture> find(const MediaTime& time) const;
    /// The last decoded picture at or before a moment.
    std::optional<ShownPicture> findBefore(const MediaTime& time) const;

    /// The decoded picture nearest to a moment, within one of some stretches; see `PictureCache::findNearest`.
    std::optional<ShownPicture> findNearest(const MediaTime& time, std::span<const TimeRange> within) const;

    /// The reason why there are no pictures at all; `find` then returns that none is shown.
    std::optional<RecorderError> error() const;
    /// The number of pictures decoded so far.
    std::int64_t decodedCount() const;

  private:
    void run();
    std::optional<MediaTime> nextGap() const;
    bool take(const ShownPicture& picture, const MediaTime& target);
    ShownPicture findOrGiveUp(const MediaTime& target, bool& isEnded);

    const std::function<void()> changed_;
    FrameSeeker seeker_;  // the thread's

    mutable std::mutex lock_;
    std::condition_variable wake_;
    PictureCache cache_;                  // guarded by lock_
    std::size_t typicalBytes_ = 0;        // guarded by lock_; of the picture decoded last
    std::optional<RecorderError> error_;  // guarded by lock_
    std::int64_t decodedCount_ = 0;       // guarded by lock_
    bool isResting_ = false;              // guarded by lock_; until there are other goals
    std::int64_t goalsRound_ = 0;         // guarded by lock_; counts changes of them
    bool isEnding_ = false;               // guarded by lock_
    std::thread thread_;                  // last: it uses everything above
};

}  // namespace lumivastor::playback
