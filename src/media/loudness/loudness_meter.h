// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <span>

#include "base/pcm_format.h"
#include "media/loudness/peaks_between.h"

namespace lumivastor::media {

/// Loudness of sound that is heard as a whole, by EBU R 128. A figure is absent where there is nothing to measure:
/// silence, or less than its window.
struct Loudness {
    std::optional<double> integrated;  // LUFS; blocks below -70 LUFS do not count
    std::optional<double> range;       // LU
    std::optional<double> truePeak;    // dBTP, 4 times oversampled
};

/// Measures sound that is added piece by piece. One thread at a time.
class LoudnessMeter {
  public:
    enum class Figures { integrated, all };

    /// Mono or stereo, 1000 frames a second at least. Throws `RecorderError` when memory is short.
    LoudnessMeter(const PcmFormat& format, Figures figures);
    ~LoudnessMeter();
    LoudnessMeter(const LoudnessMeter&) = delete;
    LoudnessMeter& operator=(const LoudnessMeter&) = delete;

    /// Whole frames, interleaved. Throws `RecorderError` when memory is short.
    void add(std::span<const float> values);

    /// Of everything that was added.
    Loudness loudness() const;

  private:
    struct Library;  // the library's state

    const PcmFormat format_;
    const Figures figures_;
    const std::unique_ptr<Library> library_;
    TruePeakMeter peaks_;  // the library's takes five times as long
};

}  // namespace lumivastor::media
