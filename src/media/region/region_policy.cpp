// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_policy.h"

#include <algorithm>

namespace lumivastor::media {

namespace {

// A picture without macroblocks has a dozen bytes, and must always do.
constexpr double kLeastBytes = 64;

}  // namespace

RegionPolicy::RegionPolicy(const RegionPolicySettings& settings) : settings_(settings) {}

Turn RegionPolicy::next(const Picture& picture) {
    if (settings_.averageBytes) {
        savedBytes_ = std::min(savedBytes_ + picture.elapsed * *settings_.averageBytes,
                               settings_.savedPictures * *settings_.averageBytes);
    }
    const Turn turn = choose(picture);
    since_ = turn == Turn::region ? since_ + 1 : 0;
    return turn;
}

Turn RegionPolicy::choose(const Picture& picture) {
    const double many = settings_.largestShare * picture.macroblocks;
    if (moving_ > 0) --moving_;
    const bool isLarge = picture.macroblocksToCode > many || (moving_ > 0 && picture.macroblocksChanged > many);
    if (isLarge && moving_ == 0) moving_ = settings_.motionPictures + 1;  // this one, too
    if (resting_ > 0) --resting_;
    if (picture.isKeyDue || isLarge || resting_ > 0) {
        settling_ = settings_.settlingPictures;
        // Behind a key picture alone nothing is about to change.
        const bool isKeyAlone = !isLarge && resting_ == 0;
        calm_ = isKeyAlone ? settings_.calmPictures : 0;
        settlesCoarseOnly_ = isKeyAlone;
        return picture.isKeyDue ? Turn::encoderStartsOver : Turn::encoderMoves;
    }
    calm_ = picture.macroblocksChanged > many ? 0 : calm_ + 1;
    if (settling_ > 0 && calm_ > settings_.calmPictures) {
        --settling_;
        if (picture.isCoarse || !settlesCoarseOnly_) return Turn::encoderRefines;
    }
    if (picture.isCoarse && calm_ > settings_.patience && since_ >= settings_.patience) return Turn::encoderRefines;
    return picture.mayBeOurs ? Turn::region : Turn::encoderRefines;
}

std::optional<std::size_t> RegionPolicy::maxBits() const {
    if (!settings_.averageBytes) return std::nullopt;
    return static_cast<std::size_t>(8 * std::max(kLeastBytes, savedBytes_));
}

void RegionPolicy::wrote(std::size_t bytes) {
    savedBytes_ -= static_cast<double>(bytes);
}

void RegionPolicy::gaveUp() {
    resting_ = settings_.restAfterGivingUp + 1;  // this one, too
}

}  // namespace lumivastor::media
