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

/// Gives a stream its parameters, and the tag under which QuickTime files and MP4 hold it.
void describeStream(AVStream& stream, const AVCodecParameters& parameters, int timescale);

}  // namespace lumivastor::media
