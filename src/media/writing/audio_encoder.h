// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ffmpeg/ffmpeg_handles.h"
#include "media/reading/samples.h"
#include "media/writing/packet_consumer.h"

namespace lumivastor::media {

/// The codec of sound: AAC, or Opus for WebM files.
enum class AudioCodec { aac, opus };

/// How sound is encoded.
struct AudioSettings {
    int sampleRate = 48000;
    int channels = 2;
    int bitRate = 192000;
    AudioCodec codec = AudioCodec::aac;
};

/// Encodes sound that comes in pieces of any length. Pieces that follow each other within `kJitterSeconds` count as
/// continuous, unless something was left out between them; a longer gap becomes silence, and an overlap is cut off. One
/// thread at a time. Throws `RecorderError`.
class AudioEncoder {
  public:
    /// Time stamps of live sound jitter by a fraction of a buffer; a smaller shift against the picture is not
    /// noticeable.
    static constexpr double kJitterSeconds = 0.005;

    explicit AudioEncoder(const AudioSettings& settings);

    ffmpeg::CodecParametersHandle parameters() const;

    /// `startFrame` counts from the session's start; sound before that is cut off.
    void encode(const PcmSample& sample, std::int64_t startFrame, const PacketConsumer& consume);
    void finish(const PacketConsumer& consume);

  private:
    void send(std::size_t frames, const PacketConsumer& consume);
    void receive(const PacketConsumer& consume);

    AudioSettings settings_;
    ffmpeg::CodecHandle codec_;
    ffmpeg::PacketHandle packet_;
    std::vector<float> waiting_;     // interleaved, not yet encoded
    std::int64_t waitingStart_ = 0;  // the frame with which waiting_ begins
    bool begun_ = false;
    bool isAfterCut_ = false;  // until the first piece behind it
};

}  // namespace lumivastor::media
