// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg_handles.h"
#include "media/writing/movie_sink.h"

namespace lumivastor::media {

/// FFmpeg's name of the container.
inline const char* formatName(MovieContainer container) {
    return container == MovieContainer::mp4 ? "mp4" : "mov";
}

/// Sets a stream's parameters, and its tag in QuickTime and MP4 files.
void describeStream(AVStream& stream, const AVCodecParameters& parameters, int timescale);

}  // namespace lumivastor::media
