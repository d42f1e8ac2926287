// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/server_time.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::x11 {
namespace {

constexpr double kRound = 4294967.296;  // seconds until 32 bits of milliseconds wrap

// The distance from `near` to the closest time at which the server's counter has this value.
double distanceFrom(double near, std::uint32_t serverMilliseconds) {
    return std::remainder(serverMilliseconds / 1000.0 - near, kRound);
}

}  // namespace

ServerTime::ServerTime(std::uint32_t serverMilliseconds, double hostBefore, double hostAfter) {
    const double distance = distanceFrom((hostBefore + hostAfter) / 2, serverMilliseconds);
    // The same clock, read once before and once after a round trip that may have been slow, and cut to milliseconds.
    const double tolerance = (hostAfter - hostBefore) / 2 + 0.005;
    if (std::abs(distance) > tolerance) offset_ = distance;
}

double ServerTime::hostSeconds(std::uint32_t serverMilliseconds, double hostNow) const {
    return std::min(hostNow, hostNow + distanceFrom(hostNow + offset_, serverMilliseconds));
}

}  // namespace lumivastor::x11
