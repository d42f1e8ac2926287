// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lumivastor::render {

/// Reduces sound, piece by piece, to the levels of a `Waveform`: the peak of all channels in each hundredth of a
/// second. One thread at a time.
class LevelMeter {
  public:
    /// Rates from 100 frames a second, at least one channel.
    LevelMeter(int sampleRate, int channels) : sampleRate_(sampleRate), channels_(channels) {}

    /// Whole frames, interleaved.
    void add(std::span<const float> values);

    /// Of what has been added, including the last one, which may not be complete.
    std::vector<std::uint8_t> levels() const;

  private:
    const int sampleRate_;
    const int channels_;
    std::int64_t frames_ = 0;
    std::int64_t levelEnd_ = 0;  // in frames
    float peak_ = 0;
    std::vector<std::uint8_t> levels_;
};

}  // namespace lumivastor::render
