// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::media {

/// A stream and its description in a QuickTime movie.
struct DescribedStream {
    const AVCodecParameters* parameters = nullptr;
    int timescale = 1;
};

/// The box ("stsd") with which a QuickTime movie describes the samples of each of these streams. Throws `RecorderError`
/// when the format cannot hold one.
std::vector<std::vector<std::uint8_t>> sampleDescriptions(std::span<const DescribedStream> streams);

}  // namespace lumivastor::media
