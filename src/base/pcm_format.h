// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor {

/// How sound is read, mixed and played: 32-bit floating point, the channels of one moment side by side.
struct PcmFormat {
    int sampleRate = 48000;
    int channels = 2;

    bool operator==(const PcmFormat&) const = default;
};

}  // namespace lumivastor
