// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/frame_prefetcher.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "base/thread_name.h"

namespace lumivastor::playback {

namespace {

const TimeRange kAlways = TimeRange::between({-(std::int64_t{1} << 32), 1}, {std::int64_t{1} << 32, 1});
constexpr MediaTime kTick{1, 1'000'000};

}  // namespace

FramePrefetcher::FramePrefetcher(const media::SegmentedTrack& track, const Options& options,
                                 std::function<void()> changed)
    : changed_(std::move(changed)),
      seeker_(track, options.before),
      cache_(options.budget),
      thread_([this, name = options.threadName] {
          nameThisThread(name);
          run();
      }) {}

FramePrefetcher::~FramePrefetcher() {
    {
        const std::lock_guard hold(lock_);
        isEnding_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void FramePrefetcher::setGoals(std::vector<TimeRange> goals, const MediaTime& playhead) {
    {
        const std::lock_guard hold(lock_);
        cache_.setGoals(std::move(goals), playhead);
        isResting_ = false;
        ++goalsRound_;
    }
    wake_.notify_one();
}

std::optional<ShownPicture> FramePrefetcher::find(const MediaTime& time) const {
    const std::lock_guard hold(lock_);
    const ShownPicture* const found = cache_.find(time);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

std::optional<ShownPicture> FramePrefetcher::findBefore(const MediaTime& time) const {
    const std::lock_guard hold(lock_);
    const ShownPicture* const found = cache_.findBefore(time);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

std::optional<ShownPicture> FramePrefetcher::findNearest(const MediaTime& time,
                                                         std::span<const TimeRange> within) const {
    const std::lock_guard hold(lock_);
    const ShownPicture* const found = cache_.findNearest(time, within);
    return found == nullptr ? std::nullopt : std::optional(*found);
}

std::optional<RecorderError> FramePrefetcher::error() const {
    const std::lock_guard hold(lock_);
    return error_;
}

std::int64_t FramePrefetcher::decodedCount() const {
    const std::lock_guard hold(lock_);
    return decodedCount_;
}

// The next moment to decode; nullopt when everything is decoded, or the missing pictures would replace more important
// ones. Under lock_.
std::optional<MediaTime> FramePrefetcher::nextGap() const {
    if (isResting_) return std::nullopt;
    const std::optional<PictureCache::Gap> gap = cache_.firstGap();
    if (!gap || !cache_.hasRoomFor(gap->time, typicalBytes_)) return std::nullopt;
    return gap->time;
}

void FramePrefetcher::run() {
    std::unique_lock hold(lock_);
    for (;;) {
        std::optional<MediaTime> gap;
        wake_.wait(hold, [&] {
            gap = nextGap();
            return isEnding_ || gap;
        });
        if (isEnding_) return;
        const std::int64_t round = goalsRound_;
        hold.unlock();
        bool isEnded = false;
        const ShownPicture found = findOrGiveUp(*gap, isEnded);
        if (!isEnded) take(found, *gap);
        hold.lock();
        // Decoded, but not stored: another attempt would repeat this forever.
        isResting_ = !isEnded && round == goalsRound_ && cache_.find(*gap) == nullptr;
    }
}

ShownPicture FramePrefetcher::findOrGiveUp(const MediaTime& target, bool& isEnded) {
    std::string reason;
    try {
        const auto passing = [&](const ShownPicture& picture) { return take(picture, target); };
        std::optional<ShownPicture> found = seeker_.find(target, passing);
        isEnded = !found;
        return found ? *std::move(found) : ShownPicture{};
    } catch (const RecorderError& error) {
        reason = error.message();
    } catch (const std::bad_alloc&) {
        reason = "Der Arbeitsspeicher reicht nicht.";
    }
    const std::lock_guard hold(lock_);
    error_ = RecorderError(reason);
    // A track that cannot be opened is not tried again for every frame.
    return {std::nullopt, decodedCount_ == 0 ? kAlways : TimeRange{target, kTick}, 0};
}

// Stores a decoded picture. Returns whether `target` is still wanted.
bool FramePrefetcher::take(const ShownPicture& picture, const MediaTime& target) {
    bool goesOn = false;
    bool isWanted = false;
    {
        const std::lock_guard hold(lock_);
        if (picture.picture) {
            ++decodedCount_;
            typicalBytes_ = picture.bytes;
        }
        cache_.insert(picture);
        const std::optional<PictureCache::Gap> gap = cache_.firstGap();
        const std::vector<TimeRange>& goals = cache_.goals();
        goesOn = !isEnding_ && gap && goals[gap->goal].contains(target);
        // Pictures on the way to the target are not reported.
        isWanted = std::any_of(goals.begin(), goals.end(), [&](const TimeRange& goal) {
            return picture.shown.start < goal.end() && goal.start < picture.shown.end();
        });
    }
    if (isWanted) changed_();
    return goesOn;
}

}  // namespace lumivastor::playback
