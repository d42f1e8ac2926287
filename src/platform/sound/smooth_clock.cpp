// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/smooth_clock.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::platform {

double SmoothClock::at(double host, double device) {
    double time = device;
    if (last_) {
        const double passed = host - last_->host;
        const double expected = last_->time + passed;
        const double difference = device - expected;
        if (std::abs(difference) <= kJump) time = expected + difference * (1 - std::exp(-passed / kSettling));
    }
    last_ = {host, time};
    told_ = std::max(told_, time);
    return told_;
}

}  // namespace lumivastor::platform
