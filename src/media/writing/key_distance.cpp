// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/key_distance.h"

#include <algorithm>

namespace lumivastor::media {

namespace {

// Of all macroblocks. So much is seen in a small picture of a timeline, too, which shows key pictures only.
constexpr double kLargeShare = 0.125;

// Of the longest seek.
constexpr double kWorthwhileShare = 0.25;

}  // namespace

// bench/decoding_bench.cpp
DecodingCost liveH264Cost() {
    return {58e-9, 32e-9, 9.5e-9, 18e-9};
}

DecodingCost hevcCost() {
    return {165e-9, 150e-9, 50e-9, 100e-9};
}

bool KeyDistance::isDue(std::int64_t ticks, bool isStill, Urgency urgency) const {
    if (pictures_ == 0 || pictures_ >= settings_.maxPictures) return true;
    if (isAfter(largeChange_, ticks) || (isStill && isAfter(lastChange_, ticks))) return true;
    if (settings_.maxSeekSeconds <= 0 || pictures_ < kLeastPictures || urgency == Urgency::mayWait) return false;
    return seekSeconds_ >= settings_.maxSeekSeconds;
}

bool KeyDistance::isWorthIt() const {
    return settings_.maxSeekSeconds > 0 && pictures_ >= kLeastPictures &&
           seekSeconds_ >= kWorthwhileShare * settings_.maxSeekSeconds;
}

bool KeyDistance::isAfter(const std::optional<std::int64_t>& change, std::int64_t ticks) const {
    if (settings_.keySecondsAfterChange <= 0 || !change) return false;
    return static_cast<double>(ticks - *change) >= settings_.keySecondsAfterChange * settings_.timescale;
}

void KeyDistance::add(std::int64_t ticks, int changedMacroblocks, bool isKey) {
    const DecodingCost& cost = settings_.cost;
    if (isKey) {
        pictures_ = 0;
        seekSeconds_ = 0;
        lastChange_.reset();
        largeChange_.reset();
    } else if (changedMacroblocks > 0) {
        lastChange_ = ticks;
        if (!largeChange_ && changedMacroblocks >= kLargeShare * settings_.macroblocks) largeChange_ = ticks;
        seekSeconds_ += cost.changedMacroblock * changedMacroblocks;
    }
    seekSeconds_ += cost.macroblock * settings_.macroblocks;
    ++pictures_;
}

void KeyDistance::wrote(std::size_t bytes, bool isKey) {
    seekSeconds_ += (isKey ? settings_.cost.keyByte : settings_.cost.byte) * static_cast<double>(bytes);
}

}  // namespace lumivastor::media
