// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/frame_pacer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/saturated.h"

namespace lumivastor::platform {

void TickSchedule::advance(double now) {
    next_ += interval_;
    if (next_ <= now) next_ += interval_ * std::ceil((now - next_) / interval_);
}

std::int64_t MissedIntervals::interval(double seconds) const {
    // A tick lies at a multiple of the interval, which sums of floating point numbers miss by a little.
    constexpr double kTolerance = 1e-6;
    return saturated<std::int64_t>(std::floor((seconds - start_) / interval_ + kTolerance));
}

void MissedIntervals::begin(double now, bool isTick) {
    lookedBefore_ = std::exchange(lookedAt_, interval(now));
    // Each interval has a tick; a look that ends late skips some. Without a tick, nothing arrived since the last look.
    if (isTick) missed_ = std::max(missed_, lookedAt_ - lookedBefore_ - 1);
}

void MissedIntervals::end(double now, bool isNew) {
    if (isNew && lastNew_) {
        const std::int64_t apart = lookedAt_ - *lastNew_;
        // One interval apart: where content arrives by itself, the tick behind it finds nothing new.
        if (missed_ == 0) {
            followPace(apart);
        } else if (lookedBefore_ - *lastNew_ <= 1) {
            count_ += std::clamp(static_cast<double>(apart) / pace_ - 1, 0.0, static_cast<double>(missed_));
        }
    }
    if (isNew) lastNew_ = lookedAt_;
    missed_ = std::max<std::int64_t>(0, interval(now) - lookedAt_ - 1);
}

// Content at 30 pictures a second has one in every second interval of a schedule of 60, sometimes in the next or third.
void MissedIntervals::followPace(std::int64_t apart) {
    constexpr std::int64_t kMoving = 4;  // what is further apart does not move but changes now and then
    constexpr double kShare = 0.25;      // the last four pictures, about
    if (apart >= 1 && apart <= kMoving) pace_ += kShare * (static_cast<double>(apart) - pace_);
}

std::int64_t MissedIntervals::count() const {
    return saturated<std::int64_t>(std::floor(count_));
}

FramePacer::Action FramePacer::atTick(const Situation& situation) {
    if (situation.changed && !situation.hidden && situation.canTake) return Action::takePicture;
    if (lastDelivered_ && situation.now - *lastDelivered_ >= kRepeatAfter) {
        lastDelivered_ = situation.now;
        return Action::repeatLast;
    }
    if (situation.hidden) return Action::tellSuspended;
    return situation.changed ? Action::nothing : Action::tellIdle;
}

FramePacer::Action FramePacer::atStop(const Situation& situation) {
    if (situation.changed && !situation.hidden && situation.canTake) return Action::takePicture;
    if (!lastDelivered_) return Action::nothing;
    lastDelivered_ = situation.now;
    return Action::repeatLast;
}

FrameStatus FramePacer::taken(double hostSeconds) {
    const FrameStatus status = lastDelivered_ ? FrameStatus::complete : FrameStatus::started;
    lastDelivered_ = hostSeconds;
    return status;
}

}  // namespace lumivastor::platform
