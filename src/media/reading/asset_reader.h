// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/recorder_error.h"
#include "media/reading/samples.h"
#include "media/reading/segmented_movie.h"

namespace lumivastor::ffmpeg {
class PictureConverter;
}

namespace lumivastor::media {

class AssetReader;
struct ReaderState;
class PictureDecoder;
class SoundTrackReader;
class MovieFile;

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

/// Reads a movie or a composition once from front to back: make it, add outputs, set a range if need be, start, then
/// copy samples from every output until it gives none. Each output has its own decoder and may be used on a thread of
/// its own (one at a time); status and errors may be asked for on any thread. Everything else belongs to the thread
/// that makes the reader. Outputs live as long as the reader.
class AssetReader {
  public:
    enum class Status {
        unknown,    // not started
        reading,    // samples come
        completed,  // every output came to its end
        failed,     // an output met damage, or a file that ends too early; the others may go on
    };

    explicit AssetReader(std::shared_ptr<const Asset> asset);
    explicit AssetReader(SegmentedMovie composition);
    ~AssetReader();
    AssetReader(const AssetReader&) = delete;
    AssetReader& operator=(const AssetReader&) = delete;

    /// What part of the timeline is read; all of it unless set. Before `startReading`.
    void setTimeRange(const TimeRange& range);

    /// Adds outputs, before `startReading`. The tracks exist and are of the right kind.
    VideoTrackOutput& addVideoOutput(int trackId, PictureFormat format);
    AudioMixOutput& addAudioMixOutput(std::vector<AudioMixInput> inputs, const PcmFormat& format = {});
    /// One track's sound, as it is.
    AudioMixOutput& addAudioOutput(int trackId, const PcmFormat& format = {});
    StoredSampleOutput& addStoredSampleOutput(int trackId);

    /// Opens files and decoders. False, with `status` failed and `error` set, when one of them cannot be.
    bool startReading();

    Status status() const;
    /// Why the reader failed.
    std::optional<RecorderError> error() const;
    /// Where on the timeline the failed output's samples end: the first moment that it could not deliver, as far as
    /// known.
    std::optional<MediaTime> failureTime() const;

  private:
    SegmentedMovie composition_;
    std::shared_ptr<ReaderState> state_;
    std::vector<std::unique_ptr<VideoTrackOutput>> videoOutputs_;
    std::vector<std::unique_ptr<AudioMixOutput>> audioOutputs_;
    std::vector<std::unique_ptr<StoredSampleOutput>> storedOutputs_;
};

}  // namespace lumivastor::media
