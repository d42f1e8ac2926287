// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/waveform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace lumivastor::render {

namespace {

constexpr std::size_t kFold = 8;
constexpr double kStepsPerDecibel = 8.0 / 3;
constexpr int kFullScale = 255;

std::array<float, kFullScale + 1> makePeaks() {
    std::array<float, kFullScale + 1> peaks{};
    for (int level = 1; level <= kFullScale; ++level) {
        peaks[static_cast<std::size_t>(level)] =
            static_cast<float>(std::pow(10, (level - kFullScale) / kStepsPerDecibel / 20));
    }
    return peaks;
}

}  // namespace

Waveform::Waveform(std::vector<std::uint8_t> levels) {
    if (levels.empty()) return;
    pyramid_.push_back(std::move(levels));
    while (pyramid_.back().size() > kFold) {
        const std::vector<std::uint8_t>& finer = pyramid_.back();
        std::vector<std::uint8_t> coarser((finer.size() + kFold - 1) / kFold);
        for (std::size_t i = 0; i < finer.size(); ++i) coarser[i / kFold] = std::max(coarser[i / kFold], finer[i]);
        pyramid_.push_back(std::move(coarser));
    }
}

std::span<const std::uint8_t> Waveform::levels() const {
    if (pyramid_.empty()) return {};
    return pyramid_.front();
}

// From the finest on: what does not fill an entry of the next level is looked at in this one.
std::uint8_t Waveform::highest(std::size_t first, std::size_t end) const {
    std::uint8_t highest = 0;
    for (std::size_t i = 0; i < pyramid_.size() && first < end; ++i) {
        const std::vector<std::uint8_t>& levels = pyramid_[i];
        const bool isCoarsest = i + 1 == pyramid_.size();
        while (first < end && (isCoarsest || first % kFold != 0)) highest = std::max(highest, levels[first++]);
        while (first < end && end % kFold != 0) highest = std::max(highest, levels[--end]);
        first /= kFold;
        end /= kFold;
    }
    return highest;
}

float Waveform::peak(const Interval& stretch) const {
    float peak = 0;
    peaks(stretch, {&peak, 1});
    return peak;
}

void Waveform::peaks(const Interval& stretch, std::span<float> columns) const {
    const auto count = static_cast<double>(levels().size());
    const double width = stretch.length() / static_cast<double>(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const double start = (stretch.start + width * static_cast<double>(i)) * kLevelsPerSecond;
        const double end = (stretch.start + width * static_cast<double>(i + 1)) * kLevelsPerSecond;
        // Not a number and what is beyond the ends becomes nothing.
        const double first = std::clamp(std::floor(start), 0.0, count);
        const double last = std::clamp(std::ceil(end), 0.0, count);
        columns[i] =
            first < last ? peakOf(highest(static_cast<std::size_t>(first), static_cast<std::size_t>(last))) : 0.0F;
    }
}

std::uint8_t Waveform::levelOf(float peak) {
    if (!(peak > 0)) return 0;
    const double level = kFullScale + 20 * std::log10(static_cast<double>(peak)) * kStepsPerDecibel;
    return static_cast<std::uint8_t>(std::lround(std::clamp(level, 0.0, 1.0 * kFullScale)));
}

float Waveform::peakOf(std::uint8_t level) {
    static const std::array<float, kFullScale + 1> kPeaks = makePeaks();
    return kPeaks[level];
}

}  // namespace lumivastor::render
