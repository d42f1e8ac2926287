// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

namespace lumivastor::platform {

/// A stretch of live sound: 32-bit floating point at full scale -1...1, the channels of one moment side by side.
struct SoundBuffer {
    /// Host clock, seconds: when the first frame was heard or said, latencies taken off. Times and frame counts agree:
    /// a clock that runs fast or slow against the host clock has been corrected by resampling.
    double hostSeconds = 0;
    int sampleRate = 48000;
    int channels = 2;
    std::vector<float> values;

    std::size_t frames() const { return values.size() / static_cast<std::size_t>(channels); }
};

}  // namespace lumivastor::platform
