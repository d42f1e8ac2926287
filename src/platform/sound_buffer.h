// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

namespace lumivastor::platform {

/// A piece of live sound: interleaved 32-bit floating point, full scale -1...1.
struct SoundBuffer {
    /// Host clock, seconds: when the first frame was heard or spoken, with latencies subtracted. Times and frame counts
    /// agree, because drift of the device's clock has been corrected by resampling.
    double hostSeconds = 0;
    int sampleRate = 48000;
    int channels = 2;
    std::vector<float> values;

    std::size_t frames() const { return values.size() / static_cast<std::size_t>(channels); }
};

}  // namespace lumivastor::platform
