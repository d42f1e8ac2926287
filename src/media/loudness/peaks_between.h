// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace lumivastor::media {

/// How many values on either side of a place are needed for the peaks there.
inline constexpr std::size_t kPeakSide = 12;
inline constexpr std::size_t kPeakTaps = 2 * kPeakSide;

/// The highest absolute values between those of one channel, as sound has them when it is played: three places between
/// each two values, four times the rate, as true peaks are defined. `highest[i]` is that between
/// `values[i + kPeakSide - 1]` and the next; `values` has `kPeakTaps - 1` more than `highest`.
void findPeaksBetween(std::span<const float> values, std::span<float> highest);

/// No place between values is higher than the highest of those around it by more than this factor.
float mostBetween();

/// The true peak of sound that is added piece by piece. One thread at a time.
class TruePeakMeter {
  public:
    explicit TruePeakMeter(std::size_t channels);

    /// Whole frames, interleaved.
    void add(std::span<const float> values);
    /// Of all channels, as a factor of full scale.
    float peak() const;

  private:
    std::vector<std::vector<float>> channels_;  // the last values of each, then those that are added
    std::vector<float> highest_;
    float peak_ = 0;
};

}  // namespace lumivastor::media
