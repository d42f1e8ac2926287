// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/rate_control.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::media {

namespace {

// A change of the rate factor by this much doubles the size, or halves it.
constexpr double kDoubling = 6;
// H.264 ends at 51. libx264 takes more as a request to leave out detail, which noise needs.
constexpr double kCoarsestFactor = 60;
// Motion may use up what was saved in the time that it is likely to last, except for this share, which is for the
// picture at its end, because that one stays. A zoom takes about that long in all; nobody knows what is left of a
// longer motion.
constexpr double kZoomSeconds = 0.8;
constexpr double kMostLeft = 0.5;
constexpr double kLeastLeft = 0.2;
constexpr double kKeptShare = 0.25;
// At least this share of the rate's, also when too much was spent: nothing would be seen for seconds otherwise.
constexpr double kLeastShare = 0.25;
// As far as a picture may be finer than the one before it in a motion. A leap could be seen.
constexpr double kLargestStep = 3;
// What a picture that stays may take of all that is saved, and at least, in seconds of the rate.
constexpr double kRestShare = 0.5;
constexpr double kRestSeconds = 0.25;
// Of all that can be saved. A motion that goes on, and the picture at its end, need most of it.
constexpr double kAmple = 0.7;
// Of what a group tells the next one about sizes.
constexpr double kStepsPerDoubling = 4;
constexpr double kTenths = 10;
constexpr double kNearlyAll = 0.25;  // of a step

// In steps, rounded up: a picture that is taken for larger than it is keeps to the limit.
int sizeInSteps(double bytes) {
    return std::max(1, static_cast<int>(std::ceil(kStepsPerDoubling * std::log2(std::max(1.0, bytes)))));
}

double sizeOf(int steps) {
    return std::exp2(steps / kStepsPerDoubling);
}

}  // namespace

bool isPossible(const RateCarry& carry) {
    // A picture of 4 GB at the coarsest factor.
    constexpr int kLargest = static_cast<int>(kStepsPerDoubling * (32 + kCoarsestFactor / kDoubling));
    const auto isWithin = [](int value, int least, double most) { return value >= least && value <= most; };
    return isWithin(carry.saved, -RateCarry::kSteps, RateCarry::kSteps) &&
           isWithin(carry.motionTenths, 0, kTenths * kZoomSeconds) &&
           isWithin(carry.motionFactor, 0, kCoarsestFactor) && isWithin(carry.motionSize, 0, kLargest) &&
           isWithin(carry.largestSize, 0, kLargest);
}

RateControl::RateControl(const RateControlSettings& settings, const RateCarry& carry)
    : settings_(settings), saved_(capacity() * carry.saved / RateCarry::kSteps) {
    if (carry.motionSize > 0) motion_ = {static_cast<double>(carry.motionFactor), sizeOf(carry.motionSize)};
    motionSeconds_ = carry.motionTenths / kTenths;
    if (carry.largestSize > 0) key_ = {0, sizeOf(carry.largestSize)};
}

RateCarry RateControl::carry(bool isInMotion) const {
    RateCarry carry;
    if (capacity() > 0) {
        // Nearly all is all: a group that ends at rest has just written a few bytes.
        const double steps = RateCarry::kSteps * saved_ / capacity();
        const double whole = steps >= RateCarry::kSteps - kNearlyAll ? RateCarry::kSteps : std::floor(steps);
        carry.saved = static_cast<int>(std::clamp<double>(whole, -RateCarry::kSteps, RateCarry::kSteps));
    }
    carry.isInMotion = isInMotion;
    if (isInMotion && motion_) {
        // Longer makes no difference.
        carry.motionTenths = static_cast<int>(kTenths * std::min(motionSeconds_, kZoomSeconds));
        carry.motionFactor = static_cast<int>(std::lround(motion_->factor));
        carry.motionSize = sizeInSteps(motion_->bytes);
    }
    if (isInMotion || restFactor() > settings_.restFactor) {
        double largest = 0;
        for (const auto& like : {key_, rest_, motion_}) {
            if (like) largest = std::max(largest, like->bytes * std::exp2(like->factor / kDoubling));
        }
        if (largest > 0) carry.largestSize = sizeInSteps(largest);
    }
    return carry;
}

void RateControl::advance(double seconds) {
    saved_ = std::min(capacity(), saved_ + settings_.bytesPerSecond * seconds);
    if (motion_) motionSeconds_ += seconds;
}

void RateControl::wrote(std::size_t bytes) {
    saved_ -= static_cast<double>(bytes);
}

double RateControl::factorFor(Kind kind, double picturesPerSecond) const {
    if (kind == Kind::rest) return restFactor();
    const double kept = kKeptShare * capacity();
    const std::optional<Learned>& like = motion_ ? motion_ : key_;
    if (!like || capacity() <= 0) return settings_.motionFactor;
    const double left = std::clamp(kZoomSeconds - motionSeconds_, kLeastLeft, kMostLeft);
    const double budget = settings_.bytesPerSecond + (saved_ - kept) / left;
    const double each = std::max(budget, kLeastShare * settings_.bytesPerSecond) / picturesPerSecond;
    const double fitting = like->factor + kDoubling * std::log2(like->bytes / each);
    const double finest = motion_ ? motion_->factor - kLargestStep : 0;
    return std::min(kCoarsestFactor, std::max({settings_.motionFactor, fitting, finest}));
}

// At worst it has to be coded from nothing, or as much of it as in the last picture of a motion.
double RateControl::restFactor() const {
    if (capacity() <= 0) return settings_.restFactor;
    const double each = std::max(kRestShare * saved_, kRestSeconds * settings_.bytesPerSecond);
    double factor = settings_.restFactor;
    for (const auto& like : {key_, rest_, motion_}) {
        if (like) factor = std::max(factor, like->factor + kDoubling * std::log2(like->bytes / each));
    }
    return std::min(kCoarsestFactor, factor);
}

bool RateControl::isShort() const {
    return saved_ < kAmple * capacity();
}

void RateControl::endMotion() {
    motion_.reset();
    motionSeconds_ = 0;
}

void RateControl::learnMotion(double factor, std::size_t bytes) {
    motion_ = {factor, std::max(1.0, static_cast<double>(bytes))};
}

void RateControl::learnRest(double factor, std::size_t bytes) {
    rest_ = {factor, std::max(1.0, static_cast<double>(bytes))};
}

void RateControl::learnKey(double factor, std::size_t bytes) {
    key_ = {factor, std::max(1.0, static_cast<double>(bytes))};
}

}  // namespace lumivastor::media
