// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/frame_pacer.h"

#include <cmath>

namespace lumivastor::platform {

void TickSchedule::advance(double now) {
    next_ += interval_;
    if (next_ <= now) next_ += interval_ * std::ceil((now - next_) / interval_);
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
