// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/start_watch.h"

namespace lumivastor::capture {

void StartWatch::begin() {
    timer_ = mainLoop_.every(kLook, [this] { look(); });
}

void StartWatch::step(std::string what) {
    const std::lock_guard hold(lock_);
    ++number_;
    what_ = std::move(what);
}

void StartWatch::look() {
    int number = 0;
    std::string what;
    {
        const std::lock_guard hold(lock_);
        number = number_;
        what = what_;
    }
    const bool isSlow = number == std::exchange(seen_, number) && number != told_ && !what.empty();
    if (!isSlow) return;
    told_ = number;
    // A copy: the handler may destroy its owner.
    const auto handler = onSlowStep_;
    if (handler) handler(what);
}

}  // namespace lumivastor::capture
