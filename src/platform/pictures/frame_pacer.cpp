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

void MissedIntervals::begin(double now, std::optional<double> due) {
    lookedBefore_ = std::exchange(lookedAt_, interval(now));
    if (due) missed_ += std::max<std::int64_t>(0, lookedAt_ - std::max(interval(*due), endedIn_));
}

void MissedIntervals::end(double now, bool isNew) {
    // One interval apart: where content arrives by itself, the tick behind it finds nothing new.
    if (isNew && lastNew_ && lookedBefore_ - *lastNew_ <= 1) count_ += missed_;
    if (isNew) lastNew_ = lookedAt_;
    endedIn_ = interval(now);
    missed_ = std::max<std::int64_t>(0, endedIn_ - lookedAt_ - 1);
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
