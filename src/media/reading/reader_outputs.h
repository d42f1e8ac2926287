// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/pcm_format.h"
#include "media/reading/samples.h"
#include "media/reading/segmented_movie.h"

namespace lumivastor::ffmpeg {
class PictureConverter;
}

// What an `AssetReader` gives; it makes the outputs.

namespace lumivastor::media {

class AssetReader;
class MovieFile;
class PictureDecoder;
struct ReaderState;

/// The pictures of one video track, in presentation order.
///
/// At the beginning of every segment, and of the reader's time range, stands the picture that is shown there: the last
/// one of the source whose presentation time is at or before that moment, handed out with the moment as its
/// presentation time. All others keep their distance from the segment's start exactly. A picture's duration reaches to
/// the next one or to the segment's end. Empty ranges, and what a source does not cover, give no pictures; the client
/// holds the last one there. A source whose first picture comes late gives nothing before it.
class VideoTrackOutput {
  public:
    ~VideoTrackOutput();
    VideoTrackOutput(const VideoTrackOutput&) = delete;
    VideoTrackOutput& operator=(const VideoTrackOutput&) = delete;

    /// The next picture; nothing at the end and after a failure, which the reader's status tells apart.
    std::optional<VideoSample> copyNextSample();

  private:
    friend class AssetReader;
    VideoTrackOutput(std::shared_ptr<ReaderState> state, SegmentedTrack track, PictureFormat format);

    bool enterSegment(const MovieSegment& segment);
    std::optional<VideoSample> next();

    std::shared_ptr<ReaderState> state_;
    SegmentedTrack track_;
    PictureFormat format_;
    std::size_t segment_ = 0;
    bool entered_ = false;
    bool ended_ = false;
    TimeRange visible_;  // of the current segment, on the timeline
    std::unique_ptr<PictureDecoder> decoder_;
    const Asset* decoderAsset_ = nullptr;
    int decoderTrack_ = 0;
    std::unique_ptr<ffmpeg::PictureConverter> converter_;
    MediaTime reached_;  // the end of the last picture handed out
};

/// A track of a mix and how loud it is in it: a factor on its values.
struct AudioMixInput {
    int trackId = 0;
    float volume = 1.0F;
};

/// The sum of several tracks' sound in one format, without gaps: silence where no track has any. It reaches from the
/// start of the reader's range to its end or to the end of the longest of these tracks, whichever comes first. A mono
/// track keeps its level in both channels. Values are not limited to full scale.
class AudioMixOutput {
  public:
    /// Frames in a sample, but for the last: 0.1 s at 48 kHz, small against what a writer interleaves by.
    static constexpr int kFramesPerSample = 4800;

    ~AudioMixOutput();
    AudioMixOutput(const AudioMixOutput&) = delete;
    AudioMixOutput& operator=(const AudioMixOutput&) = delete;

    /// The next stretch of sound; nothing at the end and after a failure, which the reader's status tells apart.
    std::optional<PcmSample> copyNextSample();

  private:
    friend class AssetReader;
    struct Voice;
    AudioMixOutput(std::shared_ptr<ReaderState> state, std::vector<SegmentedTrack> tracks,
                   std::vector<AudioMixInput> inputs, const PcmFormat& format);

    void start();

    std::shared_ptr<ReaderState> state_;
    PcmFormat format_;
    std::vector<Voice> voices_;
    bool started_ = false;
    std::int64_t position_ = 0;
    std::int64_t end_ = 0;
    std::vector<float> scratch_;
    bool ended_ = false;
};

/// A track's samples as they are stored, in the file's order. With a time range it begins at the key sample at or
/// before the range's start and ends with the last sample that begins in it. Only on whole movies, not on edits.
class StoredSampleOutput {
  public:
    ~StoredSampleOutput();
    StoredSampleOutput(const StoredSampleOutput&) = delete;
    StoredSampleOutput& operator=(const StoredSampleOutput&) = delete;

    /// The next sample; nothing at the end and after a failure, which the reader's status tells apart.
    std::optional<StoredSample> copyNextSample();

  private:
    friend class AssetReader;
    StoredSampleOutput(std::shared_ptr<ReaderState> state, std::shared_ptr<const Asset> asset, int trackId);

    void start();

    std::shared_ptr<ReaderState> state_;
    std::shared_ptr<const Asset> asset_;
    AssetTrack track_;
    std::unique_ptr<MovieFile> file_;
    MediaTime reached_;
    bool ended_ = false;
};

/// What a track's samples are, without reading any: for making a writer's input before the reader is started. Throws
/// `RecorderError` when the file cannot be opened.
StoredFormat storedFormatOf(const Asset& asset, int trackId);

}  // namespace lumivastor::media
