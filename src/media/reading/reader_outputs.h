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

// The outputs of an `AssetReader`, which creates them.

namespace lumivastor::media {

class AssetReader;
class MovieFile;
class PictureDecoder;
class PictureTimes;
struct ReaderState;

/// The pictures of one video track, in presentation order.
///
/// Every segment, and the reader's time range, begins with the picture that is shown there: the last one of the source
/// with a presentation time at or before that moment. Its presentation time becomes that moment; all other pictures
/// keep their exact distance from the segment's start. A picture's duration reaches to the next one or to the segment's
/// end. Empty ranges and ranges that a source does not cover have no pictures; the client holds the last one there.
/// Before the first picture of a source there are none.
class VideoTrackOutput {
  public:
    ~VideoTrackOutput();
    VideoTrackOutput(const VideoTrackOutput&) = delete;
    VideoTrackOutput& operator=(const VideoTrackOutput&) = delete;

    /// The next picture; nullopt at the end and after a failure; the reader's status says which.
    std::optional<VideoSample> copyNextSample();

  private:
    friend class AssetReader;
    VideoTrackOutput(std::shared_ptr<ReaderState> state, SegmentedTrack track, PictureFormat format);

    void start();
    /// `Walker`: a `PictureDecoder`, or the `PictureTimes` that stand for one.
    template <typename Walker>
    void walk(const MovieSegment& segment, std::unique_ptr<Walker>& walker);
    template <typename Walker>
    bool enterSegment(const MovieSegment& segment, std::unique_ptr<Walker>& walker);
    template <typename Walker>
    std::optional<VideoSample> next(std::unique_ptr<Walker>& walker);
    void give(const PictureDecoder& decoder, VideoSample& sample);
    void give(const PictureTimes& times, VideoSample& sample);

    std::shared_ptr<ReaderState> state_;
    SegmentedTrack track_;
    PictureFormat format_;
    std::size_t segment_ = 0;
    bool entered_ = false;
    bool ended_ = false;
    TimeRange visible_;  // of the current segment, on the timeline
    std::unique_ptr<PictureDecoder> decoder_;
    std::unique_ptr<PictureTimes> times_;  // in place of it, with `PictureFormat::timesOnly`
    const Asset* walkedAsset_ = nullptr;   // of the one in use
    int walkedTrack_ = 0;
    std::unique_ptr<ffmpeg::PictureConverter> converter_;
    MediaTime reached_;  // the end of the last picture handed out
};

/// A track of a mix, and its volume as a factor.
struct AudioMixInput {
    int trackId = 0;
    float volume = 1.0F;
};

/// The mix of several tracks' sound in one format, without gaps: silence where no track has sound. It begins with the
/// reader's range and ends with it or with the longest of these tracks, whichever is earlier. A mono track keeps its
/// level in both channels. Values are not limited to full scale.
class AudioMixOutput {
  public:
    /// Frames in a sample except the last: 0.1 s at 48 kHz, short compared with a writer's interleaving.
    static constexpr int kFramesPerSample = 4800;

    ~AudioMixOutput();
    AudioMixOutput(const AudioMixOutput&) = delete;
    AudioMixOutput& operator=(const AudioMixOutput&) = delete;

    /// The next piece of sound; nullopt at the end and after a failure; the reader's status says which.
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
/// before the range's start and ends with the last sample that begins in it. For whole movies only, not for
/// compositions.
class StoredSampleOutput {
  public:
    ~StoredSampleOutput();
    StoredSampleOutput(const StoredSampleOutput&) = delete;
    StoredSampleOutput& operator=(const StoredSampleOutput&) = delete;

    /// The next sample; nullopt at the end and after a failure; the reader's status says which.
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

/// The format of a track's samples, without reading any: needed to make a writer's input before the reader is started.
/// Throws `RecorderError` when the file cannot be opened.
StoredFormat storedFormatOf(const Asset& asset, int trackId);

}  // namespace lumivastor::media
