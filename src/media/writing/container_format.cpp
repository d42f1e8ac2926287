// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/container_format.h"

#include "ffmpeg/ffmpeg_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

void describeStream(AVStream& stream, const AVCodecParameters& parameters, int timescale) {
    const std::uint32_t hvc1 = MKTAG('h', 'v', 'c', '1');
    ffmpeg::checked(avcodec_parameters_copy(stream.codecpar, &parameters), "Eine Spur konnte nicht angelegt werden");
    // The tag is the container's to choose, but HEVC keeps its parameter sets out of the samples.
    stream.codecpar->codec_tag = parameters.codec_id == AV_CODEC_ID_HEVC ? hvc1 : 0;
    stream.time_base = {1, timescale};
}

}  // namespace lumivastor::media
