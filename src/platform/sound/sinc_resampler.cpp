// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sinc_resampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "base/precondition.h"

namespace lumivastor::platform {
namespace {

constexpr int kTaps = 2 * SincResampler::kReach;
// Between two of these the weights are interpolated; at 256 that is exact to 2 millionths.
constexpr int kPhases = 256;

// Modified Bessel function of the first kind and order zero, by its series.
double bessel(double x) {
    double sum = 1;
    double term = 1;
    for (int k = 1; term > 1e-12 * sum; ++k) {
        term *= (x / 2 / k) * (x / 2 / k);
        sum += term;
    }
    return sum;
}

using Weights = std::array<std::array<float, kTaps>, kPhases + 1>;

Weights makeWeights() {
    // Kaiser's window with this parameter has its side lobes 80 dB down.
    constexpr double kBeta = 7.857;
    Weights weights{};
    for (int phase = 0; phase <= kPhases; ++phase) {
        const double fraction = static_cast<double>(phase) / kPhases;
        std::array<double, kTaps> row{};
        double sum = 0;
        for (int tap = 0; tap < kTaps; ++tap) {
            const double x = tap - (SincResampler::kReach - 1) - fraction;
            const double along = x / SincResampler::kReach;
            const double window = std::abs(along) >= 1 ? 0 : bessel(kBeta * std::sqrt(1 - along * along));
            const double angle = std::numbers::pi * x;
            row[static_cast<std::size_t>(tap)] = window * (x == 0 ? 1 : std::sin(angle) / angle);
            sum += row[static_cast<std::size_t>(tap)];
        }
        // Every phase must pass a constant unchanged, or a steady signal would hum.
        for (int tap = 0; tap < kTaps; ++tap) {
            weights[static_cast<std::size_t>(phase)][static_cast<std::size_t>(tap)] =
                static_cast<float>(row[static_cast<std::size_t>(tap)] / sum);
        }
    }
    return weights;
}

}  // namespace

SincResampler::SincResampler(int channels) : channels_(static_cast<std::size_t>(channels)) {
    precondition(channels > 0, "at least one channel");
}

void SincResampler::restart(std::int64_t frame) {
    values_.clear();
    first_ = frame;
}

void SincResampler::push(std::span<const float> values) {
    precondition(values.size() % channels_ == 0, "whole frames");
    values_.insert(values_.end(), values.begin(), values.end());
}

void SincResampler::read(double position, std::vector<float>& target) const {
    static const Weights kWeights = makeWeights();
    const double whole = std::floor(position);
    const double phase = (position - whole) * kPhases;
    const auto row = static_cast<std::size_t>(phase);
    const auto between = static_cast<float>(phase - static_cast<double>(row));
    const auto& lower = kWeights[row];
    const auto& upper = kWeights[std::min<std::size_t>(row + 1, kPhases)];
    std::array<float, kTaps> weights{};
    for (std::size_t tap = 0; tap < kTaps; ++tap) weights[tap] = lower[tap] + (upper[tap] - lower[tap]) * between;

    const std::int64_t start = static_cast<std::int64_t>(whole) - (kReach - 1) - first_;
    const auto frames = static_cast<std::int64_t>(values_.size() / channels_);
    const std::int64_t from = std::clamp<std::int64_t>(-start, 0, kTaps);
    const std::int64_t to = std::clamp<std::int64_t>(frames - start, from, kTaps);
    for (std::size_t channel = 0; channel < channels_; ++channel) {
        float sum = 0;
        for (std::int64_t tap = from; tap < to; ++tap) {
            sum += weights[static_cast<std::size_t>(tap)] *
                   values_[static_cast<std::size_t>(start + tap) * channels_ + channel];
        }
        target.push_back(sum);
    }
}

void SincResampler::forgetBefore(double position) {
    const std::int64_t keep = static_cast<std::int64_t>(std::floor(position)) - (kReach - 1);
    const std::int64_t gone = std::clamp<std::int64_t>(keep - first_, 0, end() - first_);
    values_.erase(values_.begin(), values_.begin() + gone * static_cast<std::int64_t>(channels_));
    first_ += gone;
}

}  // namespace lumivastor::platform
