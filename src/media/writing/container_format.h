// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg_handles.h"
#include "media/writing/movie_sink.h"

namespace lumivastor::media {

/// FFmpeg's name of the container.
inline const char* formatName(MovieContainer container) {
    switch (container) {
        case MovieContainer::mp4:
            return "mp4";
        case MovieContainer::webM:
            return "webm";
        default:
            return "mov";
    }
}

/// Sets a stream's parameters, and its tag in QuickTime and MP4 files.
void describeStream(AVStream& stream, const AVCodecParameters& parameters, int timescale);

}  // namespace lumivastor::media
