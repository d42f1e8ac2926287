// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/loudness/peaks_between.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

constexpr std::size_t kPhases = 3;

using Taps = std::array<float, kPeakTaps>;

// Windowed sinc functions. Fewer values on either side miss peaks of high tones by a tenth of a decibel.
std::array<Taps, kPhases> makeTaps() {
    std::array<Taps, kPhases> made{};
    for (std::size_t phase = 0; phase < kPhases; ++phase) {
        const double place = static_cast<double>(phase + 1) / (kPhases + 1);
        std::array<double, kPeakTaps> taps{};
        double sum = 0;
        for (std::size_t i = 0; i < kPeakTaps; ++i) {
            const double distance = static_cast<double>(i) - (kPeakSide - 1) - place;
            const double angle = std::numbers::pi * distance;
            const double window = std::cos(angle / kPeakTaps);
            taps[i] = std::sin(angle) / angle * window * window;
            sum += taps[i];
        }
        for (std::size_t i = 0; i < kPeakTaps; ++i) made[phase][i] = static_cast<float>(taps[i] / sum);
    }
    return made;
}

const std::array<Taps, kPhases>& allTaps() {
    static const std::array<Taps, kPhases> made = makeTaps();
    return made;
}

}  // namespace

// Value by value for each tap, so that the compiler can take several values at once.
void findPeaksBetween(std::span<const float> values, std::span<float> highest) {
    precondition(values.size() >= highest.size() + kPeakTaps - 1, "the values around each place");
    constexpr std::size_t kBlock = 256;
    std::array<float, kBlock> sums{};
    for (std::size_t at = 0; at < highest.size(); at += kBlock) {
        const std::size_t count = std::min(kBlock, highest.size() - at);
        float* const out = highest.data() + at;
        std::fill_n(out, count, 0.0F);
        for (const Taps& taps : allTaps()) {
            std::fill_n(sums.begin(), count, 0.0F);
            for (std::size_t tap = 0; tap < kPeakTaps; ++tap) {
                const float factor = taps[tap];
                const float* const in = values.data() + at + tap;
                for (std::size_t i = 0; i < count; ++i) sums[i] += factor * in[i];
            }
            for (std::size_t i = 0; i < count; ++i) {
                const float size = std::fabs(sums[i]);
                out[i] = out[i] > size ? out[i] : size;
            }
        }
    }
}

float mostBetween() {
    static const float most = [] {
        float largest = 0;
        for (const Taps& taps : allTaps()) {
            float size = 0;
            for (const float tap : taps) size += std::fabs(tap);
            largest = std::max(largest, size);
        }
        return largest;
    }();
    return most;
}

TruePeakMeter::TruePeakMeter(std::size_t channels) : channels_(channels, std::vector<float>(kPeakTaps - 1, 0.0F)) {}

void TruePeakMeter::add(std::span<const float> values) {
    const std::size_t channels = channels_.size();
    const std::size_t frames = values.size() / channels;
    highest_.resize(frames);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        std::vector<float>& all = channels_[channel];
        all.resize(kPeakTaps - 1 + frames);
        for (std::size_t i = 0; i < frames; ++i) {
            const float value = values[i * channels + channel];
            all[kPeakTaps - 1 + i] = value;
            peak_ = std::max(peak_, std::fabs(value));
        }
        findPeaksBetween(all, highest_);
        for (const float each : highest_) peak_ = std::max(peak_, each);
        std::copy(all.end() - static_cast<std::ptrdiff_t>(kPeakTaps - 1), all.end(), all.begin());
        all.resize(kPeakTaps - 1);
    }
}

float TruePeakMeter::peak() const {
    TruePeakMeter ended(*this);
    ended.add(std::vector<float>(kPeakSide * channels_.size(), 0.0F));
    return ended.peak_;
}

}  // namespace lumivastor::media
