// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/stand_in.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::playback {

namespace {

// How much further away a decoded picture may be than a small one. Text can be read in one and not in the other.
constexpr double kSharpnessWorth = 0.5;
// Decoding a picture or two and painting it takes less; behind it painting a stand-in must fit into a display frame.
constexpr double kPatience = 0.004;
// In seconds: the next pictures, which are often decoded one after the other.
constexpr double kNear = 0.1;
constexpr double kDisplayFrame = 1.0 / 60;

// Moves further apart than this are two clicks.
constexpr double kLongestPause = 0.25;
constexpr double kMotionAhead = 0.5;
// Seconds of pictures, all of which the cache holds.
constexpr double kLongestAhead = 1;
// Two cores decode about six seconds of moving pictures in one.
constexpr double kFastest = 4;

}  // namespace

bool isDecodedBetter(double decodedDistance, const std::optional<double>& smallDistance) {
    return !smallDistance || decodedDistance <= *smallDistance + kSharpnessWorth;
}

double standInDue(double asked, const std::optional<double>& last, const std::optional<double>& decodedDistance) {
    const bool isNear = decodedDistance && *decodedDistance <= kNear;
    const double due = isNear ? asked + kPatience : asked;
    return last ? std::max(due, *last + kDisplayFrame) : due;
}

void PlayheadMotion::moved(double seconds, double now) {
    speed_ = 0;
    if (last_ && now > last_->now && now - last_->now <= kLongestPause) {
        speed_ = (seconds - last_->seconds) / (now - last_->now);
    }
    last_ = {seconds, now};
}

std::optional<Interval> PlayheadMotion::ahead() const {
    if (!last_ || speed_ == 0 || std::abs(speed_) > kFastest) return std::nullopt;
    const double way = std::clamp(speed_ * kMotionAhead, -kLongestAhead, kLongestAhead);
    return Interval{std::min(last_->seconds, last_->seconds + way), std::max(last_->seconds, last_->seconds + way)};
}

}  // namespace lumivastor::playback
