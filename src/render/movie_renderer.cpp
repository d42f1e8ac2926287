// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/movie_renderer.h"

#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <semaphore>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/pixel_size.h"
#include "base/serial_queue.h"
#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/asset_writer.h"
#include "render/animation_renderer.h"
#include "render/background.h"
#include "render/composed_frames.h"
#include "render/cut_composition.h"
#include "render/export_plan.h"
#include "render/film_chapters.h"
#include "render/film_groups.h"
#include "render/film_pictures.h"
#include "render/film_sound.h"
#include "render/film_target.h"
#include "render/finished_movie.h"
#include "render/group_producer.h"
#include "render/pending_movie.h"
#include "render/reuse/group_store.h"

namespace lumivastor::render {

namespace {

constexpr const char* kNotWritten = "Das Studio-Video konnte nicht geschrieben werden";

// Runs `work`; any exception becomes an error for the user.
template <typename Work>
std::optional<RecorderError> errorOf(const Work& work) noexcept {
    try {
        work();
        return std::nullopt;
    } catch (...) {
        return handledError(kNotWritten);
    }
}

media::MovieContainer containerOf(FilmForm form) {
    switch (form) {
        case FilmForm::mp4:
            return media::MovieContainer::mp4;
        case FilmForm::webm:
            return media::MovieContainer::webM;
        default:
            return media::MovieContainer::quickTime;
    }
}

// One export. Made, run and destroyed on the calling thread.
class Export {
  public:
    Export(const edit::Composition& composition, const FrameMaker& makeFrame, const RenderOptions& options)
        : composition_(composition),
          makeFrame_(makeFrame),
          recording_(composition.recording()),
          source_(composition, makeFrame),
          canvas_{composition.canvasWidth(), composition.canvasHeight()},
          options_(options),
          form_(options.form.value_or(filmForm(source_.state().settings.exportFormat))),
          fps_(recording_.info.fps) {}

    RenderResult run() {
        checkFrameRate(fps_);
        throwIfStopped();
        source_.open();
        total_ = frameCount(source_.state().outputDuration, fps_);
        prepareWriter();
        prepareSound(source_.cut());
        startWriting();
        pumpToTheEnd();
        return finish();
    }

    /// After `run` has thrown: the hardware encoder that caused the failure; nullopt when it was another cause
    /// (software encoder, recording, disk).
    std::optional<std::string> failedHardware() const {
        const bool isToBlame = isRefused_ || (writer_ && writer_->encoderFailed());
        return isToBlame ? hardware_ : std::nullopt;
    }

  private:
    // Set-up
    void prepareWriter();
    void prepareSoftware(media::VideoSettings settings);
    void prepareSound(const CutComposition& cut);
    void startWriting();
    std::function<void(std::int64_t)> pictureProgress();

    // Pumps
    void pumpToTheEnd();
    void startPump(media::WriterInput& input, SerialQueue& queue, std::binary_semaphore& ended, void (Export::*pump)());
    void pumpVideo();
    void pumpAudio();

    // End
    RenderResult finish();
    void remember(const std::filesystem::path& film);
    void report(double progress) const;

    // Failure and cancellation
    void record(const RecorderError& error) noexcept;
    bool isStopping() const { return hasFailed_ || options_.stop.stop_requested(); }
    void throwIfStopped() const {
        if (options_.stop.stop_requested()) throw RecorderError("Abgebrochen.");
    }

    const edit::Composition& composition_;
    const FrameMaker& makeFrame_;
    const edit::Recording& recording_;
    ComposedFrames source_;  // the video pump's while it runs
    const PixelSize canvas_;
    const RenderOptions& options_;
    const FilmForm form_;
    const std::int64_t fps_;
    std::int64_t total_ = 0;
    double before_ = 0;                    // of the progress, before the first picture
    std::int64_t toldPictures_ = 0;        // the video pump's while it runs
    std::optional<std::string> hardware_;  // the encoder in use, when it is one
    bool isRefused_ = false;               // the finished movie differs from what was written
    std::optional<PendingMovie> file_;
    std::optional<GroupStore> store_;
    std::optional<imaging::ContentHash> soundContent_;  // where the film has sound

    std::mutex exportLock_;
    std::optional<RecorderError> error_;  // guarded by exportLock_; the first one
    std::atomic<bool> hasFailed_ = false;
    std::binary_semaphore videoEnded_{0};
    std::binary_semaphore audioEnded_{0};

    // The queues outlive the writer, and everything above outlives what runs on them.
    SerialQueue videoQueue_{"compose.video"};
    SerialQueue audioQueue_{"compose.audio0"};
    std::unique_ptr<media::AssetWriter> writer_;
    std::unique_ptr<FilmPictures> pictures_;   // the video pump's while it runs
    const GroupedPictures* groups_ = nullptr;  // pictures_, if they come in groups
    std::unique_ptr<FilmSound> sound_;         // the audio pump's while it runs; null: no sound
};

void Export::prepareWriter() {
    file_.emplace(filmTarget(recording_, form_, options_.file));
    writer_ =
        std::make_unique<media::AssetWriter>(file_->path(), containerOf(form_), file_->target().filename().string());
    if (form_ == FilmForm::webm) {
        pictures_ = std::make_unique<PaintedPictures>(*writer_, webMVideoSettings(canvas_, fps_), source_,
                                                      PaintedPictures::Options{fps_, total_, pictureProgress()});
        return;
    }
    media::VideoSettings settings = filmVideoSettings(canvas_, fps_, cameraPlace(source_, canvas_));
    const media::EncoderChoice choice = options_.chooseEncoder(settings);
    std::string reason = choice.reason;
    if (reason.ends_with('.')) reason.pop_back();
    Log::write("Studio", "Encoder: " + choice.candidate.encoder + " (" + reason + ")");
    choice.applyTo(settings);
    if (choice.candidate.isHardware()) hardware_ = choice.candidate.encoder;
    if (comesInGroups(choice)) prepareSoftware(settings);
    if (pictures_) return;
    pictures_ = std::make_unique<PaintedPictures>(*writer_, settings, source_,
                                                  PaintedPictures::Options{fps_, total_, pictureProgress()});
}

void Export::prepareSoftware(media::VideoSettings settings) {
    store_.emplace(groupPlaces(recording_, options_.cacheFolder, file_->target()));
    GroupProducer::Options options =
        groupOptions(std::move(settings), canvas_, fps_, total_, cameraPlace(source_, canvas_));
    options.store = &*store_;
    options.isFresh = options_.isFresh;
    options.progress = pictureProgress();
    options.stop = options_.stop;
    auto producer = std::make_unique<GroupProducer>(composition_, makeFrame_, std::move(options));
    if (!producer->isPossible()) return;
    producer->open(source_);
    auto grouped = std::make_unique<GroupedPictures>(*writer_, std::move(producer), fps_);
    groups_ = grouped.get();
    pictures_ = std::move(grouped);
}

void Export::prepareSound(const CutComposition& cut) {
    if (cut.audioTrackIds.empty()) return;
    SplitMix mix = splitMix(makeAudioMix(recording_.info, source_.state().settings, cut.audioTrackIds));
    MixedSound::Options options;
    if (form_ == FilmForm::webm) options.encoder = webMAudioSettings();
    options.isLevelled = options_.levelsLoudness.value_or(source_.state().settings.levelsLoudness());
    options.stop = options_.stop;
    if (store_) {
        if (const auto movie = movieIdentity(recording_.folder / "source.mov")) {
            soundContent_ = soundContent(*movie, cut, mix, options);
            const auto earlier = options_.isFresh ? std::nullopt : store_->findSound(*soundContent_);
            if (earlier) sound_ = CopiedSound::open(*writer_, *earlier);
        }
    }
    if (sound_) return;
    options.progress = [this](double done) { report(kLoudnessShare * done); };
    if (options.isLevelled) before_ = kLoudnessShare;
    sound_ = MixedSound::open(*writer_, cut, std::move(mix), options);
}

void Export::startWriting() {
    throwIfStopped();
    if (options_.chapters && form_ != FilmForm::webm) {
        const edit::EditState& state = source_.state();
        writer_->setChapters(filmChapters(state), state.outputDuration);
    }
    if (!writer_->startWriting()) {
        throw writer_->error().value_or(RecorderError("studio-output.mov konnte nicht angelegt werden."));
    }
    writer_->startSession({});
}

void Export::pumpToTheEnd() {
    if (sound_) startPump(sound_->input(), audioQueue_, audioEnded_, &Export::pumpAudio);
    startPump(pictures_->input(), videoQueue_, videoEnded_, &Export::pumpVideo);
    videoEnded_.acquire();
    if (sound_) audioEnded_.acquire();
}

// The other pump may run already: one that cannot be started ends like one that failed.
void Export::startPump(media::WriterInput& input, SerialQueue& queue, std::binary_semaphore& ended,
                       void (Export::*pump)()) {
    const auto error = errorOf([&] { input.requestMediaDataWhenReady(queue, [this, pump] { (this->*pump)(); }); });
    if (!error) return;
    record(*error);
    input.markAsFinished();
    ended.release();
}

void Export::pumpVideo() {
    using Pass = FilmPictures::Pass;
    while (pictures_->input().isReadyForMoreMediaData()) {
        Pass pass = Pass::end;
        if (const auto error = errorOf([&] { pass = isStopping() ? Pass::end : pictures_->append(); })) record(*error);
        if (pass == Pass::again) return;  // called again at once
        if (pass == Pass::done && !isStopping()) continue;
        pictures_->input().markAsFinished();
        videoEnded_.release();
        return;
    }
}

std::function<void(std::int64_t)> Export::pictureProgress() {
    return [this](std::int64_t done) {
        if (const auto progress = progressAfter(toldPictures_, done, total_, before_)) report(*progress);
        toldPictures_ = done;
    };
}

void Export::pumpAudio() {
    while (sound_->input().isReadyForMoreMediaData()) {
        bool goesOn = false;
        if (const auto error = errorOf([&] { goesOn = !isStopping() && sound_->append(); })) record(*error);
        if (goesOn) continue;
        sound_->input().markAsFinished();
        audioEnded_.release();
        return;
    }
}

void Export::record(const RecorderError& error) noexcept {
    const std::lock_guard hold(exportLock_);
    if (!error_) error_ = error;
    hasFailed_ = true;
}

RenderResult Export::finish() {
    if (options_.stop.stop_requested()) {
        writer_->cancelWriting();
        throw RecorderError("Abgebrochen.");
    }
    {
        const std::lock_guard hold(exportLock_);
        if (error_) throw RecorderError(*error_);
    }
    if (!writer_->finishWriting()) {
        throw writer_->error().value_or(RecorderError("Das Studio-Video konnte nicht geschrieben werden."));
    }
    const std::int64_t pictures = pictures_->count();
    const double seconds = frameSeconds(pictures, fps_);
    isRefused_ = true;
    checkFinishedMovie(file_->path(), form_,
                       {canvas_, pictures, seconds, frameSeconds(1, fps_), sound_ ? sound_->seconds() : std::nullopt});
    isRefused_ = false;
    const auto zooms = static_cast<std::int64_t>(source_.state().zoomEngine->events().size());
    RenderResult result{file_->target(), pictures, seconds, zooms};
    if (groups_ != nullptr) result.reusedFrames = groups_->producer().reusedPictures();
    throwIfStopped();
    file_->putInPlace();
    // The film exists: a failure to log that for lack of memory is no error.
    static_cast<void>(errorOf([&] {
        report(1);
        if (result.reusedFrames > 0) {
            Log::write("Studio", formatted("%lld Bilder übernommen", static_cast<long long>(result.reusedFrames)));
        }
        Log::write("Studio",
                   formatted("fertig: %lld Bilder, %zu Schnitte, %lld Auto-Zooms", static_cast<long long>(pictures),
                             source_.state().settings.cuts.size(), static_cast<long long>(zooms)));
        remember(result.url);
    }));
    return result;
}

void Export::remember(const std::filesystem::path& film) {
    if (groups_ == nullptr) return;
    const bool hasSound = sound_ && sound_->seconds();
    store_->filmIsFinished(film, groups_->producer().records(), hasSound ? soundContent_ : std::nullopt);
}

void Export::report(double progress) const {
    if (!options_.progress) return;
    if (!options_.postToMain) return options_.progress(progress);
    options_.postToMain([report = options_.progress, progress] { report(progress); });
}

// With the hardware encoder if there is one; if that fails on the way, again with a software encoder.
RenderResult renderWithWhatWorks(const edit::Composition& composition, const FrameMaker& makeFrame,
                                 const RenderOptions& options) {
    RenderOptions attempt = options;
    if (options.progress) {
        // Never falling, also when it begins again. Calls of `progress` follow one another.
        attempt.progress = [report = options.progress, maximum = std::make_shared<double>(-1)](double progress) {
            if (progress <= *maximum) return;
            *maximum = progress;
            report(progress);
        };
    }
    std::optional<std::string> hardware;
    {
        Export first(composition, makeFrame, attempt);
        try {
            return first.run();
        } catch (const RecorderError& error) {
            hardware = first.failedHardware();
            if (!hardware || options.stop.stop_requested()) throw;
            Log::write("Studio",
                       *hardware + " fiel aus, der Export beginnt in Software von vorn - Grund: " + error.message());
        }
    }
    attempt.chooseEncoder = [&hardware](const media::VideoSettings&) {
        return media::softwareExportEncoder(*hardware + " fiel aus");
    };
    return Export(composition, makeFrame, attempt).run();
}

}  // namespace

RenderResult renderMovieSync(const edit::Composition& composition, const FrameMaker& makeFrame,
                             const RenderOptions& options) {
    try {
        if (options.form && isAnimation(*options.form)) return renderAnimation(composition, makeFrame, options);
        return renderWithWhatWorks(composition, makeFrame, options);
    } catch (...) {
        throw handledError(kNotWritten);
    }
}

RenderResult renderMovieSync(const edit::Composition& composition, const RenderOptions& options) {
    return renderMovieSync(composition, framesOf(composition), options);
}

std::jthread renderMovie(const edit::Composition& composition, FrameMaker makeFrame, RenderOptions options,
                         std::function<void(const RenderOutcome&)> completion) {
    auto postToMain = options.postToMain;
    const auto work = [&composition, makeFrame = std::move(makeFrame),
                       options = std::move(options)](const std::stop_token& stop) -> RenderOutcome {
        RenderOptions stoppable = options;
        stoppable.stop = stop;
        return renderMovieSync(composition, makeFrame, stoppable);
    };
    return runInBackground<RenderOutcome>(kNotWritten, work, std::move(completion), std::move(postToMain));
}

std::jthread renderMovie(const edit::Composition& composition, RenderOptions options,
                         std::function<void(const RenderOutcome&)> completion) {
    return renderMovie(composition, framesOf(composition), std::move(options), std::move(completion));
}

}  // namespace lumivastor::render
