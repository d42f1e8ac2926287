// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor {

/// The format in which sound is read, mixed and played: interleaved 32-bit floating point.
struct PcmFormat {
    int sampleRate = 48000;
    int channels = 2;

    bool operator==(const PcmFormat&) const = default;
};

}  // namespace lumivastor
