// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "ffmpeg/ffmpeg_handles.h"
#include "media/writing/packet_consumer.h"

struct AVCodec;

// Functions that the encoders of pictures and of sound share.
namespace lumivastor::media {

/// A context for this encoder, not yet opened. Throws a `RecorderError` that begins with `what` when there is none.
ffmpeg::CodecHandle makeEncoder(const AVCodec* encoder, const char* what);

/// Requests profile High of a hardware encoder of H.264. Call it before opening the encoder. No effect on an encoder
/// without profiles.
void askForHighProfile(AVCodecContext& codec);

ffmpeg::CodecParametersHandle parametersOf(const AVCodecContext& codec);

/// Replaces the parameter sets of a stream, which its movie's header will have.
void replaceParameterSets(AVCodecParameters& parameters, std::span<const std::uint8_t> sets);

/// A packet with these bytes, and with the times and flags of `like`.
ffmpeg::PacketHandle packetOf(std::span<const std::uint8_t> bytes, const AVPacket& like, const char* what);

/// Passes on all packets that the encoder has ready. `packet` is working memory.
void drainEncoder(AVCodecContext& codec, AVPacket& packet, const char* what, const PacketConsumer& consume);

}  // namespace lumivastor::media
