// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/cursor_renderer.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <latch>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/serial_queue.h"
#include "edit/cursor_assets.h"
#include "edit/recording.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "media/writing/asset_writer.h"
#include "render/background.h"
#include "render/export_plan.h"
#include "render/pending_movie.h"

namespace lumivastor::render::CursorRenderer {

namespace {

constexpr const char* kSourceName = "source.mov";
constexpr const char* kOutputName = "test-output.mov";
constexpr const char* kCancelled = "Abgebrochen.";
constexpr const char* kNotWritten = "Das Prüfvideo konnte nicht geschrieben werden";

// Often enough to look alive, rarely enough not to fill the main thread's queue.
constexpr std::int64_t kFramesPerReport = 15;

using Movie = media::Asset;

RecorderError errorOf(const media::AssetWriter& writer, const char* otherwise) {
    return writer.error().value_or(RecorderError(otherwise));
}

void post(const Options& options, std::function<void()> work) {
    if (options.postToMain) {
        options.postToMain(std::move(work));
    } else {
        work();
    }
}

void report(const Options& options, double part) {
    if (!options.progress) return;
    post(options, [progress = options.progress, part] { progress(part); });
}

// Damage ends reading: the video ends there, and the log says why. A shortage of memory does not count as damage.
void logDamage(const media::AssetReader& reader) {
    if (reader.status() != media::AssetReader::Status::failed) return;
    const RecorderError error = reader.error().value_or(RecorderError("unbekannt"));
    if (isOutOfMemory(error)) throw RecorderError(error);
    const double reached = reader.failureTime().value_or(MediaTime{}).seconds();
    Log::write("Render", formatted("%s: Lesefehler bei %.1f s: ", kSourceName, reached) + error.message());
}

// What the pumps of one render share. When one fails, the others end.
struct Pumps {
    Pumps(std::ptrdiff_t count, std::stop_token stopping) : stop(std::move(stopping)), running(count) {}

    void keepFirst(const RecorderError& reason) noexcept {
        const std::lock_guard hold(lock);
        if (!error) error = reason;
        hasFailed = true;
    }
    // Runs a part of a pump; any exception becomes the render's error.
    template <typename Part>
    void guard(const Part& part) noexcept {
        try {
            part();
        } catch (...) {
            keepFirst(handledError(kNotWritten));
        }
    }
    bool areStopping() const { return hasFailed || stop.stop_requested(); }

    std::optional<RecorderError> firstError() {
        const std::lock_guard hold(lock);
        return error;
    }

    const std::stop_token stop;
    std::mutex lock;
    std::optional<RecorderError> error;  // guarded by lock
    std::atomic<bool> hasFailed = false;
    std::latch running;  // pumps that have not ended
};

// Copies one sound track without decoding. Runs on its queue.
struct SoundPump {
    std::unique_ptr<media::AssetReader> reader;
    media::StoredSampleOutput& output;
    media::StoredWriterInput& input;
    std::unique_ptr<SerialQueue> queue;

    void run(Pumps& pumps, const media::AssetWriter& writer) {
        while (input.isReadyForMoreMediaData()) {
            bool goesOn = false;
            pumps.guard([&] { goesOn = !pumps.areStopping() && copyNext(writer); });
            if (!goesOn) return end(pumps);
        }
    }

    // False at the end.
    bool copyNext(const media::AssetWriter& writer) {
        std::optional<media::StoredSample> sample = output.copyNextSample();
        if (!sample) {
            logDamage(*reader);
            return false;
        }
        if (!input.append(std::move(*sample))) throw errorOf(writer, "Der Ton konnte nicht geschrieben werden.");
        return true;
    }

    void end(Pumps& pumps) {
        input.markAsFinished();
        pumps.running.count_down();
    }
};

// Draws the marks into picture after picture. Runs on its queue; the counters are read after its end.
struct PicturePump {
    const edit::Recording& recording;
    const Assets& assets;
    const Options& options;
    media::AssetReader& reader;
    media::VideoTrackOutput& output;
    media::VideoWriterInput& input;
    std::int64_t frames = 0;
    double lastTime = 0;

    void run(Pumps& pumps, const media::AssetWriter& writer) {
        while (input.isReadyForMoreMediaData()) {
            bool goesOn = false;
            pumps.guard([&] { goesOn = !pumps.areStopping() && drawNext(writer); });
            if (!goesOn) return end(pumps);
        }
    }

    // False at the end.
    bool drawNext(const media::AssetWriter& writer) {
        const std::optional<media::VideoSample> sample = output.copyNextSample();
        if (!sample) {
            logDamage(reader);
            return false;
        }
        if (!append(*sample)) throw errorOf(writer, "Ein Bild konnte nicht geschrieben werden.");
        return true;
    }

    // False when the writer refuses the picture.
    bool append(const media::VideoSample& sample) {
        const std::shared_ptr<imaging::BgraPremultipliedBuffer> picture = input.pool().makeBgra();
        if (!picture) return true;  // short of memory for now: this picture is left out
        const double t = sample.presentationTime.seconds();
        placePicture(sample.bgra(), *picture);
        if (const auto marks = marksAt(recording, assets, t)) paintMarks(*marks, *picture);
        if (!input.append(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(picture), sample.presentationTime)) {
            return false;
        }
        lastTime = t;
        if (++frames % kFramesPerReport == 0) report(options, progressAt(t, recording.info.duration));
        return true;
    }

    void end(Pumps& pumps) {
        input.markAsFinished();
        pumps.running.count_down();
    }
};

void throwIfCancelled(const Options& options) {
    if (options.stop.stop_requested()) throw RecorderError(kCancelled);
}

// One render, on the calling thread.
class Render {
  public:
    // Reads the documents and opens the movie.
    Render(const std::filesystem::path& folder, const Options& options)
        : options_(options),
          recording_(edit::Recording::load(folder)),
          source_(std::make_shared<const Movie>(folder / kSourceName)),
          videoQueue_("aufnahme.render.video") {
        const std::vector<media::AssetTrack> tracks = source_->tracks(media::TrackKind::video);
        if (tracks.empty()) throw RecorderError("In source.mov ist keine Videospur.");
        videoTrack_ = tracks.front().id;
        assets_ = loadCursorImages(recording_.track, folder);
    }

    Result run() {
        startWriter();
        makePumps();
        startPumps();
        pumps_->running.wait();
        if (options_.stop.stop_requested()) {
            writer_->cancelWriting();
            throw RecorderError(kCancelled);
        }
        if (const auto error = pumps_->firstError()) throw *error;
        if (!writer_->finishWriting()) throw errorOf(*writer_, "Das Prüfvideo konnte nicht geschrieben werden.");
        Result result{file_->target(), pictures_->frames, pictures_->lastTime};
        throwIfCancelled(options_);
        file_->putInPlace();
        // The video exists: a failure to log that for lack of memory is no error.
        pumps_->guard([&] {
            report(options_, 1);
            Log::write("Render", formatted("%s: %lld Bilder, %.1f s", kOutputName,
                                           static_cast<long long>(result.frames), result.seconds));
        });
        return result;
    }

  private:
    struct SoundTrack {
        std::size_t index;  // among the source's sound tracks
        int id;
        media::StoredWriterInput& input;
    };

    void startWriter() {
        throwIfCancelled(options_);
        file_.emplace(recording_.folder / kOutputName);
        writer_.emplace(file_->path(), media::MovieContainer::quickTime, kOutputName);
        videoInput_ = &writer_->addVideoInput(
            videoSettings(recording_.info, media::storedFormatOf(*source_, videoTrack_).timescale));
        const std::vector<media::AssetTrack> sounds = source_->tracks(media::TrackKind::audio);
        for (std::size_t i = 0; i < sounds.size(); ++i) {
            const media::StoredFormat format = media::storedFormatOf(*source_, sounds[i].id);
            if (!writer_->canAddStoredInput(format)) continue;  // the track is left out
            soundTracks_.push_back({i, sounds[i].id, writer_->addStoredInput(format)});
        }
        if (!writer_->startWriting()) throw errorOf(*writer_, "test-output.mov konnte nicht angelegt werden.");
        writer_->startSession({});
    }

    // Before the first pump starts, because nothing may throw while one runs.
    void makePumps() {
        reader_.emplace(source_);
        media::VideoTrackOutput& output = reader_->addVideoOutput(videoTrack_, media::PictureFormat::bgraPremultiplied);
        if (!reader_->startReading()) {
            throw reader_->error().value_or(RecorderError("source.mov konnte nicht gelesen werden."));
        }
        pictures_.emplace(PicturePump{recording_, assets_, options_, *reader_, output, *videoInput_});
        for (const SoundTrack& track : soundTracks_) {
            auto reader = std::make_unique<media::AssetReader>(source_);
            media::StoredSampleOutput& stored = reader->addStoredSampleOutput(track.id);
            if (!reader->startReading()) {  // the track stays empty
                logDamage(*reader);
                continue;
            }
            auto queue = std::make_unique<SerialQueue>("aufnahme.render.audio" + std::to_string(track.index));
            sounds_.push_back({std::move(reader), stored, track.input, std::move(queue)});
        }
        pumps_.emplace(static_cast<std::ptrdiff_t>(sounds_.size()) + 1, options_.stop);
    }

    void startPumps() {
        for (SoundPump& sound : sounds_) startPump(sound, *sound.queue);
        startPump(*pictures_, videoQueue_);
    }

    // Other pumps may run already: one that cannot be started ends like one that failed.
    template <typename Pump>
    void startPump(Pump& pump, SerialQueue& queue) {
        bool isStarted = false;
        pumps_->guard([&] {
            pump.input.requestMediaDataWhenReady(queue, [this, &pump] { pump.run(*pumps_, *writer_); });
            isStarted = true;
        });
        if (!isStarted) pump.end(*pumps_);
    }

    const Options& options_;
    const edit::Recording recording_;
    const std::shared_ptr<const Movie> source_;
    int videoTrack_ = 0;
    Assets assets_;
    media::VideoWriterInput* videoInput_ = nullptr;
    std::vector<SoundTrack> soundTracks_;
    std::optional<Pumps> pumps_;
    std::optional<media::AssetReader> reader_;
    std::optional<PicturePump> pictures_;
    std::vector<SoundPump> sounds_;
    SerialQueue videoQueue_;
    std::optional<PendingMovie> file_;
    std::optional<media::AssetWriter> writer_;  // after the queues, which have to outlive it
};

}  // namespace

Assets loadCursorImages(const model::PointerTrack& track, const std::filesystem::path& folder) {
    // From the back, because the first readable shape of an id is taken, and the last in the document should win.
    std::vector<model::CursorImage> images;
    std::copy_if(track.cursorImages.rbegin(), track.cursorImages.rend(), std::back_inserter(images),
                 [](const model::CursorImage& image) { return image.visible && !image.file.empty(); });
    Assets assets;
    for (auto& [id, asset] : edit::loadCursorAssets(folder, images))
        assets.emplace(id, Asset{asset.picture, asset.image});
    return assets;
}

media::VideoSettings videoSettings(const model::CaptureInfo& info, std::int32_t timescale) {
    constexpr std::int64_t kFastest = 1000;
    const std::int64_t fps = std::clamp<std::int64_t>(info.fps, 1, kFastest);
    const PixelSize size{static_cast<int>(info.pixelWidth), static_cast<int>(info.pixelHeight)};
    media::VideoSettings settings = exportVideoSettings(size, fps, std::nullopt);
    settings.timescale = timescale;
    settings.skipRepeatedPictures = false;  // the time in the label differs from picture to picture
    return settings;
}

double progressAt(double t, double duration) {
    return std::min(t / std::max(duration, 0.001), 0.95);
}

Result renderSync(const std::filesystem::path& folder, const Options& options) {
    try {
        throwIfCancelled(options);
        return Render(folder, options).run();
    } catch (...) {
        throw handledError(kNotWritten);
    }
}

std::jthread render(std::filesystem::path folder, Options options, std::function<void(const Outcome&)> completion) {
    auto postToMain = options.postToMain;
    const auto work = [folder = std::move(folder),
                       options = std::move(options)](const std::stop_token& stop) -> Outcome {
        Options stoppable = options;
        stoppable.stop = stop;
        return renderSync(folder, stoppable);
    };
    return runInBackground<Outcome>(kNotWritten, work, std::move(completion), std::move(postToMain));
}

}  // namespace lumivastor::render::CursorRenderer
