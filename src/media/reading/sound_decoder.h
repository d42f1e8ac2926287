// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/media_time.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "media/reading/asset.h"
#include "media/reading/movie_file.h"

namespace lumivastor::media {

/// Decodes one audio track into an endless sequence of frames (one value for each channel) at the track's own rate:
/// frame 0 is the movie's time zero, and where the track has no sound there is silence. An encoder's priming has time
/// stamps before zero and is dropped, so sound and picture stay in sync. One thread at a time.
///
/// A damaged packet becomes silence of its length; a file that ends too early throws.
class SoundDecoder {
  public:
    /// `channels` is the number that `read` returns. A mono track keeps its level in both channels of stereo; other
    /// layouts are mixed with the usual coefficients. Throws when the file cannot be opened or its codec is not known.
    SoundDecoder(std::shared_ptr<const Asset> asset, int trackId, int channels);
    ~SoundDecoder();

    int sampleRate() const { return track_.sampleRate; }

    /// The next `read` begins with this frame. Positions before zero are silent.
    void seek(std::int64_t frame);

    /// Fills `values` (whole frames) and advances by that many. Throws `RecorderError`.
    void read(std::span<float> values);

    std::int64_t position() const { return position_; }

    /// How many packets the decoder has refused so far.
    std::int64_t refusedPackets() const { return refusedPackets_; }

  private:
    void jump(std::int64_t frame);
    bool decodeChunk();
    void convert(const AVFrame& frame);
    void configure(const AVFrame& frame);

    std::shared_ptr<const Asset> asset_;
    AssetTrack track_;
    int channels_;
    std::unique_ptr<MovieFile> file_;
    ffmpeg::CodecHandle codec_;
    ffmpeg::ResamplerHandle mixer_;
    int mixedFormat_ = -1;  // sample format and channel count that mixer_ takes
    int mixedChannels_ = 0;
    ffmpeg::PacketHandle packet_;
    ffmpeg::FrameHandle frame_;
    bool ended_ = false;
    bool draining_ = false;
    bool positioned_ = false;
    std::int64_t position_ = 0;
    std::int64_t chunkStart_ = 0;  // of chunk_, in frames
    std::vector<float> chunk_;
    bool chunkFollows_ = false;  // the next chunk continues the last one
    std::int64_t refusedPackets_ = 0;
};

}  // namespace lumivastor::media
