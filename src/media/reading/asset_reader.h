// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/recorder_error.h"
#include "media/reading/reader_outputs.h"
#include "media/reading/samples.h"
#include "media/reading/segmented_movie.h"

namespace lumivastor::media {

struct ReaderState;

/// Reads a movie or a composition once from beginning to end: construct it, add outputs, optionally set a range, start,
/// then copy samples from every output until it returns none. Each output has its own decoder and may be used on its
/// own thread (one at a time); status and errors may be read on any thread. Everything else belongs to the thread that
/// constructs the reader. Outputs live as long as the reader.
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

    /// The part of the timeline to read; all of it by default. Call before `startReading`.
    void setTimeRange(const TimeRange& range);

    /// Adds outputs, before `startReading`. The tracks exist and are of the right kind.
    VideoTrackOutput& addVideoOutput(int trackId, PictureFormat format);
    AudioMixOutput& addAudioMixOutput(std::vector<AudioMixInput> inputs, const PcmFormat& format = {});
    /// One track's sound at its original volume.
    AudioMixOutput& addAudioOutput(int trackId, const PcmFormat& format = {});
    StoredSampleOutput& addStoredSampleOutput(int trackId);

    /// Opens files and decoders. False, with `status` failed and `error` set, when one of them cannot be opened.
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
