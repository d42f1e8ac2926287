// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/quiet_stretches.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace lumivastor::render {

namespace {

constexpr double kNoisyShare = 0.1;
constexpr double kAboveNoise = 10;  // dB
constexpr double kLeast = -54;      // dB of full scale
constexpr double kMost = -36;
constexpr double kMargin = 0.15;  // seconds

std::uint8_t levelAt(double decibels) {
    return Waveform::levelOf(static_cast<float>(std::pow(10, decibels / 20)));
}

}  // namespace

std::uint8_t quietLevel(const Waveform& waveform) {
    const std::span<const std::uint8_t> levels = waveform.levels();
    std::array<std::size_t, 256> counts{};
    for (const std::uint8_t level : levels) ++counts[level];
    std::size_t below = 0;
    std::size_t noise = 0;
    const auto wanted = static_cast<std::size_t>(kNoisyShare * static_cast<double>(levels.size()));
    while (noise < counts.size() - 1 && (below += counts[noise]) <= wanted) ++noise;
    // As many steps as 10 dB are below full scale.
    const int above = Waveform::levelOf(1) - levelAt(-kAboveNoise);
    return static_cast<std::uint8_t>(std::clamp<int>(static_cast<int>(noise) + above, levelAt(kLeast), levelAt(kMost)));
}

std::vector<Interval> quietStretches(const Waveform& waveform, double duration) {
    const std::span<const std::uint8_t> levels = waveform.levels();
    const std::uint8_t quiet = quietLevel(waveform);
    std::vector<Interval> stretches;
    const auto add = [&](double start, double end) {
        const Interval stretch = intersection(Interval{start, end}, Interval{0, duration});
        if (!stretch.isEmpty()) stretches.push_back(stretch);
    };
    double since = 0;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (levels[i] <= quiet) continue;
        add(since, static_cast<double>(i) / Waveform::kLevelsPerSecond - kMargin);
        since = static_cast<double>(i + 1) / Waveform::kLevelsPerSecond + kMargin;
    }
    add(since, duration);
    return stretches;
}

}  // namespace lumivastor::render
