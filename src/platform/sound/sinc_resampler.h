// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lumivastor::platform {

/// Reads sound at positions between its frames, to play it a little faster or slower: by up to a thousandth, which
/// needs no low-pass filter. A windowed sinc over 32 frames: flat to 20 kHz at 48 kHz, images 80 dB down.
///
/// Own code instead of libswresample, whose compensation moves by whole frames over a distance and does not report its
/// position between two frames; here the position of every frame must be known.
class SincResampler {
  public:
    /// Frames that are used on each side of a position.
    static constexpr int kReach = 16;

    explicit SincResampler(int channels);

    /// Discards everything; the next push begins with `frame`.
    void restart(std::int64_t frame);
    /// Appends whole frames.
    void push(std::span<const float> values);

    /// One after the last frame.
    std::int64_t end() const { return first_ + static_cast<std::int64_t>(values_.size() / channels_); }
    /// Adds one frame, interpolated at `position`, to `target`. Outside of the stored frames is silence.
    void read(double position, std::vector<float>& target) const;
    /// Discards what reading at `position` and behind it does not need.
    void forgetBefore(double position);

  private:
    std::size_t channels_;
    std::int64_t first_ = 0;  // the frame that values_ begins with
    std::vector<float> values_;
};

}  // namespace lumivastor::platform
