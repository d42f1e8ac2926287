// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/remaining_time.h"

namespace lumivastor::editor {

namespace {

// The first seconds go into opening files and filling queues; an estimate from them is wrong.
constexpr double kFirstEstimate = 1.5;
constexpr double kLeastFraction = 0.01;
constexpr double kInterval = 1.0;

}  // namespace

std::optional<double> RemainingTime::update(double fraction, double now) {
    const double elapsed = now - start_;
    if (elapsed < kFirstEstimate || fraction < kLeastFraction) return remaining_;
    if (lastUpdate_ && now - *lastUpdate_ < kInterval) return remaining_;
    lastUpdate_ = now;
    remaining_ = elapsed * (1 - fraction) / fraction;
    return remaining_;
}

}  // namespace lumivastor::editor
