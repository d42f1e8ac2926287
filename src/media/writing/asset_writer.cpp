// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/asset_writer.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "base/handled_error.h"
#include "base/precondition.h"
#include "ffmpeg/ffmpeg_support.h"
#include "imaging/damage_history.h"
#include "imaging/painting/planar_kernels.h"
#include "media/writing/fragmented_movie_sink.h"
#include "media/writing/plain_movie_sink.h"
#include "media/writing/writer_channel.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {

namespace {

// Pictures that wait for their encoder or are in it. An export is never far ahead.
constexpr int kPictures = 3;
// Sound samples are small: about 0.1 s each when mixed, and as little as 5 ms from live devices.
constexpr int kSounds = 8;
constexpr int kLiveSounds = 400;
constexpr int kStoredSamples = 64;
constexpr int kLiveStoredSamples = 400;

class VideoTrackEncoder final : public TrackEncoder {
  public:
    explicit VideoTrackEncoder(const VideoSettings& settings)
        : settings_(settings), planes_(settings.width, settings.height, {}) {}

    void open(MovieSink& sink) override {
        settings_.lowLatency = settings_.lowLatency || sink.isFragmented();
        try {
            encoder_ = makePictureEncoder(settings_);
        } catch (const RecorderError& error) {
            throw EncoderFailure(error.message());
        }
        stream_ = sink.addStream(*encoder_->parameters(), settings_.timescale, settings_.frameRate);
    }

    void encode(MovieSink& sink, const std::shared_ptr<imaging::PlanarBuffer>& picture,
                const imaging::KnownDamage& damage, const MediaTime& time) {
        history_.add(std::nullopt);  // not ours to continue
        give(sink, picture, damage, time);
    }

    // Only what changed is converted, into a buffer that holds an earlier picture: the encoder keeps a few of them.
    void encode(MovieSink& sink, const imaging::BgraPremultipliedBuffer& picture, const imaging::KnownDamage& damage,
                const MediaTime& time) {
        const std::shared_ptr<imaging::PlanarBuffer> converted = planes_.makePlanar();
        if (!converted) throw RecorderError("Kein Speicher für die Ausgabebilder.");
        imaging::KnownDamage touched;
        if (damage) {
            touched.emplace();
            for (const PixelRect& rect : damage->rects()) {
                touched->add(imaging::convertedArea(rect, picture.width(), picture.height()));
            }
        }
        const std::uint64_t number = history_.add(touched);
        if (const imaging::KnownDamage missing = history_.since(converted->number)) {
            for (const PixelRect& area : missing->rects()) {
                imaging::convertToPlanar(picture, converted->destination(), area);
            }
        } else {
            imaging::convertToPlanar(picture, converted->destination());
        }
        converted->number = number;
        give(sink, converted, touched, time);
    }

    void repeat(MovieSink& sink, const MediaTime& time) {
        lastTick_ = std::max(time.rescaled(settings_.timescale).value, lastTick_ + 1);
        guarded(sink, [&](const PacketConsumer& consume) { encoder_->repeat(lastTick_, consume); });
    }

    void finish(MovieSink& sink) override {
        guarded(sink, [&](const PacketConsumer& consume) { encoder_->finish(consume); });
    }

  private:
    void give(MovieSink& sink, const std::shared_ptr<imaging::PlanarBuffer>& picture,
              const imaging::KnownDamage& damage, const MediaTime& time) {
        // Two pictures on one tick would make the movie fail; a tick later is not visible.
        lastTick_ = std::max(time.rescaled(settings_.timescale).value, lastTick_ + 1);
        guarded(sink, [&](const PacketConsumer& consume) { encoder_->encode(picture, damage, lastTick_, consume); });
    }

    // Runs the encoder and distinguishes its failures from those of the file, which pass through it.
    template <typename Work>
    void guarded(MovieSink& sink, const Work& work) {
        bool isWriting = false;
        const PacketConsumer consume = [&](AVPacket& packet) {
            isWriting = true;
            sink.write(stream_, packet);
            isWriting = false;
        };
        try {
            work(consume);
        } catch (const RecorderError& error) {
            if (isWriting) throw;
            throw EncoderFailure(error.message());
        }
    }

    VideoSettings settings_;
    imaging::PicturePool planes_;
    imaging::DamageHistory history_;  // of what is encoded
    std::unique_ptr<PictureEncoder> encoder_;
    int stream_ = 0;
    std::int64_t lastTick_ = -1;
};

class AudioTrackEncoder final : public TrackEncoder {
  public:
    explicit AudioTrackEncoder(const AudioSettings& settings) : settings_(settings) {}

    void open(MovieSink& sink) override {
        encoder_.emplace(settings_);
        stream_ = sink.addStream(*encoder_->parameters(), settings_.sampleRate, 0);
    }

    void encode(MovieSink& sink, const PcmSample& sample, const MediaTime& time) {
        encoder_->encode(sample, time.rescaled(settings_.sampleRate).value,
                         [&](AVPacket& packet) { sink.write(stream_, packet); });
    }

    void finish(MovieSink& sink) override {
        encoder_->finish([&](AVPacket& packet) { sink.write(stream_, packet); });
    }

  private:
    AudioSettings settings_;
    std::optional<AudioEncoder> encoder_;
    int stream_ = 0;
};

class StoredTrackCopier final : public TrackEncoder {
  public:
    explicit StoredTrackCopier(StoredFormat format) : format_(std::move(format)) {}

    void open(MovieSink& sink) override {
        precondition(!sink.isFragmented(), "fragments are made of what is encoded here");
        stream_ = sink.addStream(*format_.parameters, format_.timescale, 0);
    }

    void copy(MovieSink& sink, const StoredSample& sample, const MediaTime& sessionStart) const {
        const ffmpeg::PacketHandle packet = ffmpeg::referenceTo(*sample.packet);
        packet->pts = (sample.presentationTime - sessionStart).rescaled(format_.timescale).value;
        packet->dts = (sample.decodeTime - sessionStart).rescaled(format_.timescale).value;
        packet->duration = sample.duration.rescaled(format_.timescale).value;
        packet->pos = -1;
        sink.write(stream_, *packet);
    }

    void finish(MovieSink&) override {}

  private:
    StoredFormat format_;
    int stream_ = 0;
};

}  // namespace

// Inputs

WriterInput::WriterInput(std::shared_ptr<WriterChannel> channel) : channel_(std::move(channel)) {}
WriterInput::~WriterInput() = default;
void WriterInput::setExpectsMediaDataInRealTime(bool realTime) {
    channel_->setRealTime(realTime);
}
bool WriterInput::isReadyForMoreMediaData() const {
    return channel_->isReady();
}
void WriterInput::requestMediaDataWhenReady(SerialQueue& queue, std::function<void()> pump) {
    channel_->request(queue, std::move(pump));
}
void WriterInput::markAsFinished() {
    channel_->markAsFinished();
}

VideoWriterInput::VideoWriterInput(std::shared_ptr<WriterShared> shared, const VideoSettings& settings)
    : WriterInput(std::make_shared<WriterChannel>(std::move(shared), "writer.video", kPictures, kMaximumLivePictures,
                                                  std::make_unique<VideoTrackEncoder>(settings))),
      settings_(settings),
      pool_(settings.width, settings.height, {}) {}
VideoWriterInput::~VideoWriterInput() = default;

// With a picture goes what it changed.
bool VideoWriterInput::isBeforeSession(const MediaTime& inMovie, imaging::KnownDamage& damage) {
    if (std::exchange(hasLeftOut_, inMovie < MediaTime{})) damage.reset();
    return hasLeftOut_;
}

bool VideoWriterInput::append(std::shared_ptr<imaging::PlanarBuffer> picture, const MediaTime& time,
                              imaging::KnownDamage damage) {
    precondition(picture != nullptr, "a picture to append");
    const MediaTime inMovie = time - channel_->shared().sessionStart;
    if (isBeforeSession(inMovie, damage)) return true;
    auto& encoder = static_cast<VideoTrackEncoder&>(channel_->encoder());
    return channel_->enqueue(inMovie.seconds(),
                             [&encoder, inMovie, picture = std::move(picture), damage = std::move(damage)](
                                 MovieSink& sink) { encoder.encode(sink, picture, damage, inMovie); });
}

bool VideoWriterInput::append(std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture, const MediaTime& time,
                              imaging::KnownDamage damage) {
    precondition(picture != nullptr && picture->width() == settings_.width && picture->height() == settings_.height,
                 "a picture of the input's size");
    const MediaTime inMovie = time - channel_->shared().sessionStart;
    if (isBeforeSession(inMovie, damage)) return true;
    auto& encoder = static_cast<VideoTrackEncoder&>(channel_->encoder());
    return channel_->enqueue(inMovie.seconds(),
                             [&encoder, inMovie, picture = std::move(picture), damage = std::move(damage)](
                                 MovieSink& sink) { encoder.encode(sink, *picture, damage, inMovie); });
}

bool VideoWriterInput::appendRepeat(const MediaTime& time) {
    const MediaTime inMovie = time - channel_->shared().sessionStart;
    if (inMovie < MediaTime{}) return true;
    auto& encoder = static_cast<VideoTrackEncoder&>(channel_->encoder());
    return channel_->enqueue(inMovie.seconds(),
                             [&encoder, inMovie](MovieSink& sink) { encoder.repeat(sink, inMovie); });
}

AudioWriterInput::AudioWriterInput(std::shared_ptr<WriterShared> shared, const AudioSettings& settings)
    : WriterInput(std::make_shared<WriterChannel>(std::move(shared), "writer.audio", kSounds, kLiveSounds,
                                                  std::make_unique<AudioTrackEncoder>(settings))) {}
AudioWriterInput::~AudioWriterInput() = default;

bool AudioWriterInput::append(PcmSample sample) {
    const MediaTime inMovie = sample.presentationTime - channel_->shared().sessionStart;
    const double end = (inMovie + sample.duration()).seconds();
    auto& encoder = static_cast<AudioTrackEncoder&>(channel_->encoder());
    return channel_->enqueue(end, [&encoder, inMovie, sample = std::move(sample)](MovieSink& sink) {
        encoder.encode(sink, sample, inMovie);
    });
}

StoredWriterInput::StoredWriterInput(std::shared_ptr<WriterShared> shared, StoredFormat format)
    : WriterInput(std::make_shared<WriterChannel>(std::move(shared), "writer.stored", kStoredSamples,
                                                  kLiveStoredSamples,
                                                  std::make_unique<StoredTrackCopier>(std::move(format)))) {}
StoredWriterInput::~StoredWriterInput() = default;

bool StoredWriterInput::append(StoredSample sample) {
    const MediaTime sessionStart = channel_->shared().sessionStart;
    auto& copier = static_cast<StoredTrackCopier&>(channel_->encoder());
    const double time = (sample.decodeTime - sessionStart).seconds();
    return channel_->enqueue(time, [&copier, sessionStart, sample = std::move(sample)](MovieSink& sink) {
        copier.copy(sink, sample, sessionStart);
    });
}

// Writer

AssetWriter::AssetWriter(std::filesystem::path path, MovieContainer container, std::string shownName)
    : path_(std::move(path)),
      shownName_(shownName.empty() ? path_.filename().string() : std::move(shownName)),
      container_(container),
      shared_(std::make_shared<WriterShared>()) {}

AssetWriter::~AssetWriter() {
    {
        const std::lock_guard hold(shared_->lock);
        if (shared_->status == Status::writing) shared_->status = Status::cancelled;
    }
    waitForEncoders();
    if (shared_->sink) shared_->sink->close();
}

template <typename Input>
Input& AssetWriter::add(std::unique_ptr<Input> input) {
    precondition(status() == Status::unknown, "inputs are added before writing starts");
    Input& added = *input;
    shared_->channels.push_back(added.channel_);
    inputs_.push_back(std::move(input));
    return added;
}

VideoWriterInput& AssetWriter::addVideoInput(const VideoSettings& settings) {
    return add(std::unique_ptr<VideoWriterInput>(new VideoWriterInput(shared_, settings)));
}

AudioWriterInput& AssetWriter::addAudioInput(const AudioSettings& settings) {
    return add(std::unique_ptr<AudioWriterInput>(new AudioWriterInput(shared_, settings)));
}

StoredWriterInput& AssetWriter::addStoredInput(const StoredFormat& format) {
    return add(std::unique_ptr<StoredWriterInput>(new StoredWriterInput(shared_, format)));
}

bool AssetWriter::canAddStoredInput(const StoredFormat& format) const {
    return format.parameters != nullptr && MovieSink::canHold(container_, *format.parameters);
}

void AssetWriter::setMovieFragmentInterval(const MediaTime& interval) {
    precondition(status() == Status::unknown && interval >= MediaTime{}, "fragments are asked for before the start");
    fragmentInterval_ = interval;
}

void AssetWriter::setChapters(std::vector<MovieChapter> chapters, double end) {
    precondition(container_ != MovieContainer::webM && fragmentInterval_.value == 0, "a plain movie has chapters");
    chapters_ = std::move(chapters);
    chaptersEnd_ = end;
}

bool AssetWriter::startWriting() {
    precondition(status() == Status::unknown && !inputs_.empty(), "a writer starts once, with inputs");
    std::unique_ptr<MovieSink> sink;
    const auto fail = [&](const RecorderError& error, WriterShared::Part part) {
        if (sink) {
            sink->close();
            // A pipe or a device must not be removed.
            std::error_code ignored;
            if (std::filesystem::is_regular_file(path_, ignored)) std::filesystem::remove(path_, ignored);
        }
        shared_->fail(error, part);
        return false;
    };
    try {
        if (fragmentInterval_ > MediaTime{}) {
            precondition(container_ == MovieContainer::quickTime, "fragments are for QuickTime movies");
            sink = std::make_unique<FragmentedMovieSink>(path_, fragmentInterval_);
        } else {
            auto plain = std::make_unique<PlainMovieSink>(path_, container_, shownName_);
            for (std::size_t i = 0; i < chapters_.size(); ++i) {
                const bool isLast = i + 1 == chapters_.size();
                plain->addChapter(chapters_[i].start, isLast ? chaptersEnd_ : chapters_[i + 1].start,
                                  chapters_[i].title);
            }
            sink = std::move(plain);
        }
        for (const auto& input : inputs_) input->channel_->encoder().open(*sink);
        sink->begin();
    } catch (const EncoderFailure& error) {
        return fail(error, WriterShared::Part::encoder);
    } catch (...) {
        return fail(handledError("Der Film konnte nicht angelegt werden"), WriterShared::Part::other);
    }
    const std::lock_guard hold(shared_->lock);
    shared_->sink = std::move(sink);
    shared_->status = Status::writing;
    return true;
}

void AssetWriter::startSession(const MediaTime& start) {
    const std::lock_guard hold(shared_->lock);
    precondition(!shared_->sessionStarted && shared_->status != Status::unknown, "one session, after the start");
    shared_->sessionStart = start;
    shared_->sessionStarted = true;
}

void AssetWriter::endSession(const MediaTime& end) {
    {
        const std::lock_guard hold(shared_->lock);
        precondition(shared_->sessionStarted, "a session that has started");
    }
    precondition(end >= shared_->sessionStart, "a session ends after its start");
    if (shared_->sink) shared_->sink->endAt(end - shared_->sessionStart);
}

void AssetWriter::waitForEncoders() {
    for (const auto& input : inputs_) input->channel_->markAsFinished();
    for (const auto& input : inputs_) input->channel_->drain();
}

bool AssetWriter::finishWriting() {
    precondition(status() == Status::writing || status() == Status::failed, "what is being written can be finished");
    waitForEncoders();
    if (status() == Status::failed) {
        if (shared_->sink) shared_->sink->close();
        return false;
    }
    try {
        shared_->sink->finish();
    } catch (...) {
        shared_->fail(handledError("Der Film konnte nicht geschrieben werden"));
        shared_->sink->close();
        return false;
    }
    const std::lock_guard hold(shared_->lock);
    shared_->status = Status::completed;
    return true;
}

void AssetWriter::cancelWriting() {
    {
        const std::lock_guard hold(shared_->lock);
        precondition(shared_->status != Status::completed, "a finished movie is not cancelled");
        if (shared_->status == Status::unknown) return;
        shared_->status = Status::cancelled;
    }
    // Inputs are not marked finished here: their pumps must still be called, to notice the end.
    shared_->wakePumps();
    for (const auto& input : inputs_) input->channel_->drain();
    if (!shared_->sink) return;  // the file could not be created: any file there is not ours
    shared_->sink->close();
    std::error_code ignored;  // already removed, or cannot be: nothing else can be done
    std::filesystem::remove(path_, ignored);
}

AssetWriter::Status AssetWriter::status() const {
    const std::lock_guard hold(shared_->lock);
    return shared_->status;
}

std::int64_t AssetWriter::diskWaits() const {
    const std::lock_guard hold(shared_->lock);
    return shared_->sink ? shared_->sink->diskWaits() : 0;
}

std::optional<RecorderError> AssetWriter::error() const {
    const std::lock_guard hold(shared_->lock);
    return shared_->error;
}

bool AssetWriter::encoderFailed() const {
    const std::lock_guard hold(shared_->lock);
    return shared_->encoderFailed;
}

}  // namespace lumivastor::media
