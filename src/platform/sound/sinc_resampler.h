// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lumivastor::platform {

/// Reads sound at places between its frames, to play it a little faster or slower: by up to a thousandth, where nothing
/// needs to be filtered away. A windowed sine cardinal over 32 frames: flat to 20 kHz at 48 kHz, images 80 dB down.
///
/// Own code instead of libswresample: its compensation moves by whole frames over a distance and does not say where
/// between two frames it is, and here every frame's place has to be known.
class SincResampler {
  public:
    /// Frames that are looked at on each side of a place.
    static constexpr int kReach = 16;

    explicit SincResampler(int channels);

    /// Forgets everything; what is pushed next begins with `frame`.
    void restart(std::int64_t frame);
    /// Whole frames that follow on what is there.
    void push(std::span<const float> values);

    /// One after the last frame.
    std::int64_t end() const { return first_ + static_cast<std::int64_t>(values_.size() / channels_); }
    /// Adds one frame, interpolated at `position`, to `target`. Outside of what is there (and not yet forgotten) is
    /// silence.
    void read(double position, std::vector<float>& target) const;
    /// Forgets what reading at `position` and behind does not need.
    void forgetBefore(double position);

  private:
    std::size_t channels_;
    std::int64_t first_ = 0;  // the frame that values_ begins with
    std::vector<float> values_;
};

}  // namespace lumivastor::platform
