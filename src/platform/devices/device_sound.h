// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::devices {

/// Converts a device's decoded sound of any format to interleaved 48000 Hz stereo in floating point. One thread.
class DeviceSound {
  public:
    static constexpr int kSampleRate = 48000;
    static constexpr int kChannels = 2;

    /// Empty when the format cannot be converted.
    std::vector<float> convert(const AVFrame& frame);

    /// Seconds of sound inside the resampler: put in, but not returned yet.
    double delay() const;

  private:
    ffmpeg::ResamplerHandle resampler_;
    int format_ = -1;
    int sampleRate_ = 0;
    int channels_ = 0;
};

}  // namespace lumivastor::devices
