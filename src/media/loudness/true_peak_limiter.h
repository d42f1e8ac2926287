// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <utility>
#include <vector>

#include "base/pcm_format.h"

namespace lumivastor::media {

/// Keeps the peaks of sound below a ceiling, also those between two values, which appear when it is played. It looks
/// ahead: the sound is lowered before a peak comes, in `kLookAheadSeconds`, and rises again in about
/// `kReleaseSeconds`, so slowly that it is not heard. All channels are lowered by the same factor. What stays below the
/// ceiling is not changed. Nothing moves: frame n goes out as frame n. One thread at a time.
///
///     peak       ____|_____________
///     factor  1 ───╮     ╭─────────
///                   ╲___╱
///              look-ahead  release
class TruePeakLimiter {
  public:
    static constexpr double kLookAheadSeconds = 0.005;
    static constexpr double kReleaseSeconds = 0.08;

    /// `ceiling` is a factor of full scale, above 0.
    TruePeakLimiter(const PcmFormat& format, double ceiling);

    /// Takes whole frames and appends those that are finished to `limited`: as many less as it looks ahead.
    void add(std::span<const float> values, std::vector<float>& limited);
    /// Appends the rest.
    void finish(std::vector<float>& limited);

  private:
    void findPeaks(std::int64_t end);
    void measure(std::int64_t frame, std::vector<float>& limited);
    float value(std::int64_t frame, std::size_t channel) const;

    const std::size_t channels_;
    const float ceiling_;
    const std::int64_t lookAhead_;  // in frames
    const float release_;           // the part of the way back to 1 in one frame

    std::vector<float> frames_;  // those that are needed still, interleaved
    std::int64_t first_;         // the number of the first of them
    std::int64_t given_ = 0;     // frames that came in
    std::int64_t measured_ = 0;  // frames whose peak is known
    std::vector<float> behind_;  // the peaks between the frames to be measured and the next
    std::vector<float> channel_;
    std::vector<float> found_;
    float peakBefore_ = 0;  // between the last measured frame and the next
    // The factors that the frames of the look-ahead need: those that are the least of all behind them.
    std::deque<std::pair<std::int64_t, float>> least_;
    float released_ = 1;
    std::vector<float> recent_;  // a ring of the last factors, of which the mean is applied
    std::size_t oldest_ = 0;
    double sum_ = 0;
};

}  // namespace lumivastor::media
