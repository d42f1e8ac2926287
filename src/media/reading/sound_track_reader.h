// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "ffmpeg/ffmpeg_handles.h"
#include "media/reading/samples.h"
#include "media/reading/segmented_movie.h"
#include "media/reading/sound_decoder.h"
#include "media/reading/sound_joins.h"

namespace lumivastor::media {

/// Reads one composition track's sound from beginning to end at a chosen rate. Every segment begins at the frame
/// nearest to its place on the timeline, counted from zero, so that rounding errors never accumulate. Where a cut joins
/// two segments, sound is faded so that it does not click. One thread at a time.
class SoundTrackReader {
  public:
    /// Begins at frame `position` of the timeline.
    SoundTrackReader(SegmentedTrack track, const PcmFormat& format, std::int64_t position);
    ~SoundTrackReader();

    /// The next `read` begins with this frame of the timeline. The file stays open.
    void seek(std::int64_t position);

    /// Fills whole frames; silence where the track has no sound. Throws `RecorderError`.
    void read(std::span<float> values);

  private:
    std::int64_t frameAt(const MediaTime& time) const;
    bool isJoin(std::size_t segment) const;
    SoundStretch stretchOf(std::size_t segment) const;
    void enter(const MovieSegment& segment);
    void readSegment(std::span<float> values);

    SegmentedTrack track_;
    PcmFormat format_;
    std::int64_t position_;
    std::size_t segment_ = 0;
    bool entered_ = false;
    std::unique_ptr<SoundDecoder> decoder_;
    const Asset* decoderAsset_ = nullptr;
    int decoderTrack_ = 0;
    ffmpeg::ResamplerHandle resampler_;  // only where the rates differ
    std::vector<float> block_;
};

}  // namespace lumivastor::media
