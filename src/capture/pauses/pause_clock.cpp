// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pauses/pause_clock.h"

namespace lumivastor::capture {

// The clock is read under the lock: a sample that found no pause was taken before this one begins.
bool PauseClock::pause(bool isByPointer) {
    const std::lock_guard hold(lock_);
    if (pauses_->isPaused()) return false;
    auto pauses = std::make_shared<Pauses>(*pauses_);
    pauses->begin(hostClock_(), isByPointer);
    pauses_ = std::move(pauses);
    return true;
}

bool PauseClock::resume() {
    const std::lock_guard hold(lock_);
    if (!pauses_->isPaused()) return false;
    auto pauses = std::make_shared<Pauses>(*pauses_);
    pauses->end(hostClock_());
    pauses_ = std::move(pauses);
    return true;
}

std::shared_ptr<const Pauses> PauseClock::pauses() const {
    const std::lock_guard hold(lock_);
    return pauses_;
}

}  // namespace lumivastor::capture
