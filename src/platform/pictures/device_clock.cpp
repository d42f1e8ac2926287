// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pictures/device_clock.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include "base/host_clock.h"

namespace lumivastor::platform {
namespace {

// No device holds a sample back for longer; clocks that are equal by chance to this degree are taken for one.
constexpr double kLongestWay = 2;
// Samples are stamped before they arrive, but for rounding.
constexpr double kRounding = 0.005;

}  // namespace

ClockReading ClockReading::now() {
    timespec wall{};
    clock_gettime(CLOCK_REALTIME, &wall);
    return {hostClockSeconds(), static_cast<double>(wall.tv_sec) + static_cast<double>(wall.tv_nsec) * 1e-9};
}

double DeviceClock::hostSeconds(std::optional<double> stamp, const ClockReading& arrival) {
    if (!stamp) return arrival.hostSeconds;
    if (kind_ == Kind::unknown) {
        if (std::abs(*stamp - arrival.hostSeconds) < kLongestWay) {
            kind_ = Kind::host;
        } else if (std::abs(*stamp - arrival.wallSeconds) < kLongestWay) {
            kind_ = Kind::wall;
        } else {
            kind_ = Kind::own;
            offset_ = arrival.hostSeconds - *stamp;
        }
    }
    double taken = *stamp;
    if (kind_ == Kind::wall) {
        // By the clocks of this moment: the wall's may be set while the device runs.
        taken = arrival.hostSeconds - (arrival.wallSeconds - *stamp);
    } else if (kind_ == Kind::own) {
        // What arrives earlier than expected had a shorter way than everything before.
        offset_ = std::min(offset_, arrival.hostSeconds - *stamp);
        taken = *stamp + offset_;
    }
    const bool isPossible = taken <= arrival.hostSeconds + kRounding && taken >= arrival.hostSeconds - kLongestWay;
    return isPossible ? taken : arrival.hostSeconds;
}

}  // namespace lumivastor::platform
