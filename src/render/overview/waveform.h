// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/interval.h"

namespace lumivastor::render {

/// The peak levels of one sound track, 100 a second from the movie's zero on, with coarser copies, so that the peaks of
/// any stretch cost little: an hour in 2,000 columns takes a tenth of a millisecond. A value; immutable. A level is a
/// byte in steps of 3/8 dB: 255 is full scale or more, 0 is silence (below -95 dB).
class Waveform {
  public:
    static constexpr int kLevelsPerSecond = 100;

    Waveform() = default;
    explicit Waveform(std::vector<std::uint8_t> levels);

    /// Levels are known from zero to here.
    double seconds() const { return static_cast<double>(levels().size()) / kLevelsPerSecond; }
    std::span<const std::uint8_t> levels() const;

    /// The peak of a stretch of source time, 0...1 (linear). 0 where nothing is known.
    float peak(const Interval& stretch) const;
    /// The peaks of a stretch that is divided into equal columns, from the left. A level counts for every column that
    /// it touches, so no click is lost however many columns there are.
    void peaks(const Interval& stretch, std::span<float> columns) const;

    /// Between levels and linear peaks.
    static std::uint8_t levelOf(float peak);
    static float peakOf(std::uint8_t level);

  private:
    std::uint8_t highest(std::size_t first, std::size_t end) const;

    // Each entry is the highest of `kFold` of the finer one.
    std::vector<std::vector<std::uint8_t>> pyramid_;
};

}  // namespace lumivastor::render
