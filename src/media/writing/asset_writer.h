// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/media_time.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "imaging/damage_area.h"
#include "imaging/picture_pool.h"
#include "imaging/pixel_buffer.h"
#include "media/reading/samples.h"
#include "media/writing/audio_encoder.h"
#include "media/writing/movie_sink.h"
#include "media/writing/video_encoder.h"

namespace lumivastor::media {

class AssetWriter;
struct WriterShared;
class WriterChannel;

/// One track of a movie that is being written. Appended samples wait in a bounded queue for the track's own encoder
/// thread: appending never blocks. Check isReadyForMoreMediaData(), or register requestMediaDataWhenReady(). An input
/// that is not real-time is also not ready while it is more than a second ahead of the other inputs in use, so that the
/// file stays interleaved and memory stays bounded.
///
/// After the writer has failed or was cancelled, inputs report that they are ready and refuse every sample; this tells
/// a pump to stop.
class WriterInput {
  public:
    virtual ~WriterInput();
    WriterInput(const WriterInput&) = delete;
    WriterInput& operator=(const WriterInput&) = delete;

    /// For live sources, whose samples cannot wait: a longer queue, and readiness does not depend on the other tracks.
    /// Before `startWriting`. False unless set.
    void setExpectsMediaDataInRealTime(bool realTime);

    /// Whether a sample may be appended now. Any thread; stays true until this input is appended to.
    bool isReadyForMoreMediaData() const;

    /// Calls `pump` on `queue` whenever there is room, until `markAsFinished`. The pump appends while the input is
    /// ready; if it returns earlier, it is called again at once. Any thread, once, after `startSession`. The queue must
    /// outlive the writer.
    void requestMediaDataWhenReady(SerialQueue& queue, std::function<void()> pump);

    /// Nothing more will be appended. Any thread; a second time does nothing.
    void markAsFinished();

  protected:
    explicit WriterInput(std::shared_ptr<WriterChannel> channel);

    std::shared_ptr<WriterChannel> channel_;

  private:
    friend class AssetWriter;
};

/// A track of pictures. One thread at a time appends them, in ascending order of time; a picture on the same tick of
/// the track's clock as the one before moves to the next tick. Pictures before the session's start are left out.
class VideoWriterInput : public WriterInput {
  public:
    ~VideoWriterInput() override;

    /// The input of a live source is not ready while this many pictures wait for their encoder or are in it: a sixth of
    /// a second at 30 a second, to bridge a slow moment.
    static constexpr int kMaximumLivePictures = 5;

    /// The pool of pictures to paint into.
    imaging::PicturePool& pool() { return pool_; }

    /// Takes a picture of the input's size, which must not be modified afterwards. A planar picture is encoded without
    /// another copy; the other kind is converted on the encoder's thread. `damage` tells where the picture may differ
    /// from the one that was appended before it. False when the writer has failed.
    bool append(std::shared_ptr<imaging::PlanarBuffer> picture, const MediaTime& time,
                imaging::KnownDamage damage = std::nullopt);
    bool append(std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture, const MediaTime& time,
                imaging::KnownDamage damage = std::nullopt);
    /// Shows the last appended picture at `time` as well. Costs almost nothing where the stream allows it, as it does
    /// unless the settings say otherwise. A picture must have been appended within the session.
    bool appendRepeat(const MediaTime& time);

  private:
    friend class AssetWriter;
    VideoWriterInput(std::shared_ptr<WriterShared> shared, const VideoSettings& settings);

    /// Whether a picture at this time is left out.
    bool isBeforeSession(const MediaTime& inMovie, imaging::KnownDamage& damage);

    VideoSettings settings_;
    imaging::PicturePool pool_;
    bool hasLeftOut_ = false;  // since the last picture that was not
};

/// A track of sound, encoded from PCM of the settings' rate and channels; see `AudioEncoder` for gaps and overlaps.
class AudioWriterInput : public WriterInput {
  public:
    ~AudioWriterInput() override;

    /// False when the writer has failed.
    bool append(PcmSample sample);

  private:
    friend class AssetWriter;
    AudioWriterInput(std::shared_ptr<WriterShared> shared, const AudioSettings& settings);
};

/// A track of samples that are stored unchanged. Append them in decoding order.
class StoredWriterInput : public WriterInput {
  public:
    ~StoredWriterInput() override;

    /// False when the writer has failed.
    bool append(StoredSample sample);

  private:
    friend class AssetWriter;
    StoredWriterInput(std::shared_ptr<WriterShared> shared, StoredFormat format);
};

/// Where a player can jump to.
struct MovieChapter {
    double start = 0;  // movie time in seconds
    std::string title;

    bool operator==(const MovieChapter&) const = default;
};

/// Writes one movie file: construct it, add inputs, start, start the session, append to the inputs, mark them finished,
/// finish. Each input may be fed on any thread, one at a time; the rest belongs to the thread that constructs the
/// writer. Status and errors may be read on any thread. Inputs live as long as the writer.
///
/// A writer that is destroyed before it has finished leaves the file as far as it was written. So does one that failed;
/// if it wrote fragments, `repairMovie` makes a plain movie of them.
class AssetWriter {
  public:
    enum class Status {
        unknown,    // not started
        writing,    // takes samples
        completed,  // the file is whole and on the disk
        failed,
        cancelled,
    };

    /// `shownName` replaces the file's name in errors if that means nothing to the user; empty: its own name.
    AssetWriter(std::filesystem::path path, MovieContainer container, std::string shownName = {});
    ~AssetWriter();
    AssetWriter(const AssetWriter&) = delete;
    AssetWriter& operator=(const AssetWriter&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Before `startWriting`.
    VideoWriterInput& addVideoInput(const VideoSettings& settings);
    AudioWriterInput& addAudioInput(const AudioSettings& settings);
    StoredWriterInput& addStoredInput(const StoredFormat& format);

    /// Whether the container can hold unchanged samples of this format.
    bool canAddStoredInput(const StoredFormat& format) const;

    /// Writes the movie in fragments of about this length, each of which is passed to the system when it is whole:
    /// however this process ends, the file has everything but the last fragment (see movie_repair.h). `finishWriting`
    /// then turns it into a plain movie in place, without copying it. Needs the QuickTime container and takes no stored
    /// inputs. Before `startWriting`; 0, the default, writes a plain movie, which is not readable before it is
    /// finished.
    ///
    /// A separate thread writes the fragments, so that a slow disk delays the encoders only when several fragments
    /// wait; live inputs are then no longer ready. If a fragment cannot be written, the writer fails, and the file ends
    /// with the last whole fragment.
    void setMovieFragmentInterval(const MediaTime& interval);

    /// The movie's chapters, ascending; each lasts until the next one, the last until `end` seconds. Before
    /// `startWriting`; not for fragments, nor WebM.
    void setChapters(std::vector<MovieChapter> chapters, double end);

    /// Creates the file, replacing one of that name, and opens the encoders. False, with `status` failed and `error`
    /// set, when either fails; no file is left then.
    bool startWriting();

    /// The time of the samples' clock that becomes the movie's zero. Once, after `startWriting`.
    void startSession(const MediaTime& start);

    /// The time of the samples' clock at which the movie ends: the last picture is shown until then, and sound beyond
    /// it is left out unless it is already in the file of a plain movie. A picture at or after `end` is kept and shown
    /// for one tick. Once, after `startSession` and before `finishWriting`; without it every track ends with its last
    /// sample.
    void endSession(const MediaTime& end);

    /// Marks all inputs finished, waits for the encoders and completes the file. Returns whether the movie is whole:
    /// false, with `error` set, when anything failed since the start.
    bool finishWriting();

    /// Stops the encoders, drops waiting samples and removes the file.
    void cancelWriting();

    Status status() const;
    /// How often an encoder had to wait for the disk so far: a writer whose inputs are not ready has a slow disk if
    /// this grows, else a slow encoder. Any thread.
    std::int64_t diskWaits() const;
    /// Why the writer failed.
    std::optional<RecorderError> error() const;
    /// Whether a picture encoder made the writer fail, and not the file: another encoder may work.
    bool encoderFailed() const;

  private:
    template <typename Input>
    Input& add(std::unique_ptr<Input> input);
    void waitForEncoders();

    std::filesystem::path path_;
    std::string shownName_;
    MovieContainer container_;
    MediaTime fragmentInterval_;
    std::vector<MovieChapter> chapters_;
    double chaptersEnd_ = 0;
    std::shared_ptr<WriterShared> shared_;
    std::vector<std::unique_ptr<WriterInput>> inputs_;
};

}  // namespace lumivastor::media
