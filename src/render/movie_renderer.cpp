// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/movie_renderer.h"

#include <atomic>
#include <chrono>
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
#include "render/film_loudness.h"
#include "render/film_target.h"
#include "render/finished_movie.h"
#include "render/frame_painter.h"
#include "render/pending_movie.h"

namespace lumivastor::render {

namespace {

// How long a picture is retried while there is no memory for it.
constexpr int kMemoryAttempts = 200;
constexpr std::chrono::milliseconds kMemoryPause{10};

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
        : recording_(composition.recording()),
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
    enum class Pass { done, again, end };

    // Set-up
    std::optional<PixelRect> cameraPlace() const;
    void prepareWriter();
    void prepareSound(const CutComposition& cut);
    void prepareLoudness(const CutComposition& cut, const SplitMix& mix);
    void startWriting();

    // Pumps
    void pumpToTheEnd();
    void startPump(media::WriterInput& input, SerialQueue& queue, std::binary_semaphore& ended, void (Export::*pump)());
    void pumpVideo();
    Pass makePicture();
    Pass paint(imaging::Picture picture, const MediaTime& time);
    Pass pictureDone(bool isTaken);
    void pumpAudio();
    bool copySound();
    std::optional<media::PcmSample> nextSound();

    // End
    RenderResult finish();
    void report(double progress) const;

    // Failure and cancellation
    void record(const RecorderError& error) noexcept;
    bool isStopping() const { return hasFailed_ || options_.stop.stop_requested(); }
    void throwIfStopped() const {
        if (options_.stop.stop_requested()) throw RecorderError("Abgebrochen.");
    }

    const edit::Recording& recording_;
    ComposedFrames source_;  // the video pump's while it runs
    const PixelSize canvas_;
    const RenderOptions& options_;
    const FilmForm form_;
    const std::int64_t fps_;
    std::int64_t total_ = 0;
    double before_ = 0;                    // of the progress, before the first picture
    std::optional<std::string> hardware_;  // the encoder in use, when it is one
    bool isRefused_ = false;               // the finished movie differs from what was written
    std::optional<PendingMovie> file_;

    std::mutex exportLock_;
    std::optional<RecorderError> error_;  // guarded by exportLock_; the first one
    std::atomic<bool> hasFailed_ = false;
    std::binary_semaphore videoEnded_{0};
    std::binary_semaphore audioEnded_{0};

    // The video pump's while it runs.
    FramePainter frames_{canvas_};
    std::int64_t frame_ = 0;  // appended so far: the index of the next
    int memoryAttempts_ = 0;

    // The audio pump's while it runs.
    std::unique_ptr<media::AssetReader> audioReader_;
    media::AudioMixOutput* audioOutput_ = nullptr;
    float gain_ = 1;
    std::optional<LevelledSound> levelled_;  // none: the mix as it is
    std::optional<double> soundSeconds_;     // where the sound that was appended ends

    // The queues outlive the writer, and everything above outlives what runs on them.
    SerialQueue videoQueue_{"compose.video"};
    SerialQueue audioQueue_{"compose.audio0"};
    std::unique_ptr<media::AssetWriter> writer_;
    media::VideoWriterInput* video_ = nullptr;
    media::AudioWriterInput* audio_ = nullptr;  // none: no sound
};

// Where the camera's picture lies in the film.
std::optional<PixelRect> Export::cameraPlace() const {
    const Rect& bubble = source_.state().layout.bubbleRect;
    if (!source_.hasCamera() || bubble.isEmpty()) return std::nullopt;
    return pixelsTouchedBy(bubble, canvas_);
}

void Export::prepareWriter() {
    file_.emplace(filmTarget(recording_, form_, options_.file));
    writer_ =
        std::make_unique<media::AssetWriter>(file_->path(), containerOf(form_), file_->target().filename().string());
    if (form_ == FilmForm::webm) {
        video_ = &writer_->addVideoInput(webMVideoSettings(canvas_, fps_));
        return;
    }
    media::VideoSettings settings = exportVideoSettings(canvas_, fps_, cameraPlace());
    settings.timescale = kExportTimescale;
    settings.highProfile = true;
    const media::EncoderChoice choice = options_.chooseEncoder(settings);
    std::string reason = choice.reason;
    if (reason.ends_with('.')) reason.pop_back();
    Log::write("Studio", "Encoder: " + choice.candidate.encoder + " (" + reason + ")");
    choice.applyTo(settings);
    if (choice.candidate.isHardware()) hardware_ = choice.candidate.encoder;
    video_ = &writer_->addVideoInput(settings);
}

void Export::prepareSound(const CutComposition& cut) {
    if (cut.audioTrackIds.empty()) return;
    SplitMix mix = splitMix(makeAudioMix(recording_.info, source_.state().settings, cut.audioTrackIds));
    gain_ = mix.gain;
    prepareLoudness(cut, mix);
    audioReader_ = std::make_unique<media::AssetReader>(cut.movie);
    audioOutput_ = &audioReader_->addAudioMixOutput(std::move(mix.inputs));
    // Started before the writer, so that unreadable sound leaves no empty track.
    if (!audioReader_->startReading()) {
        const RecorderError error = audioReader_->error().value_or(RecorderError("?"));
        if (isOutOfMemory(error)) throw RecorderError(error);
        Log::write("Studio", "Ton wird weggelassen: " + error.message());
        return;
    }
    media::AudioSettings settings;
    if (form_ == FilmForm::webm) settings = webMAudioSettings();
    audio_ = &writer_->addAudioInput(settings);
}

// The first pass over the sound.
void Export::prepareLoudness(const CutComposition& cut, const SplitMix& mix) {
    if (!options_.levelsLoudness.value_or(source_.state().settings.levelsLoudness())) return;
    const std::optional<double> loudness =
        mixLoudness(cut.movie, mix, options_.stop, [this](double done) { report(kLoudnessShare * done); });
    before_ = kLoudnessShare;
    const std::optional<double> factor = levellingFactor(loudness);
    if (!factor) {
        Log::write("Studio", "Lautheit bleibt: Der Ton ist still oder fast still");
        return;
    }
    levelled_.emplace(*factor * mix.gain, PcmFormat{});
    Log::write("Studio", formatted("Lautheit: %.1f LUFS, Verstärkung %.1f dB", *loudness, 20 * std::log10(*factor)));
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
    if (audio_ != nullptr) startPump(*audio_, audioQueue_, audioEnded_, &Export::pumpAudio);
    startPump(*video_, videoQueue_, videoEnded_, &Export::pumpVideo);
    videoEnded_.acquire();
    if (audio_ != nullptr) audioEnded_.acquire();
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
    while (video_->isReadyForMoreMediaData()) {
        Pass pass = Pass::end;
        if (const auto error = errorOf([&] { pass = makePicture(); })) record(*error);
        if (pass == Pass::again) return;  // called again at once
        if (pass == Pass::done && !isStopping()) continue;
        video_->markAsFinished();
        videoEnded_.release();
        return;
    }
}

Export::Pass Export::makePicture() {
    if (frame_ >= total_ || isStopping()) return Pass::end;
    const double t = frameSeconds(frame_, fps_);
    imaging::Picture picture = source_.at(t);
    return paint(std::move(picture), MediaTime::fromSeconds(t, kExportTimescale));
}

Export::Pass Export::paint(imaging::Picture picture, const MediaTime& time) {
    const imaging::KnownDamage damage = frames_.differenceFromLast(picture);
    if (damage && damage->isEmpty()) {
        frames_.repeat(std::move(picture));
        return pictureDone(video_->appendRepeat(time));
    }
    std::shared_ptr<imaging::PlanarBuffer> buffer = frames_.paint(std::move(picture), damage, video_->pool());
    if (!buffer) {
        if (++memoryAttempts_ == kMemoryAttempts) throw RecorderError("Kein Speicher für die Ausgabebilder.");
        std::this_thread::sleep_for(kMemoryPause);
        return Pass::again;
    }
    memoryAttempts_ = 0;
    return pictureDone(video_->append(std::move(buffer), time, damage));
}

Export::Pass Export::pictureDone(bool isTaken) {
    if (!isTaken) throw writer_->error().value_or(RecorderError("Ein Bild konnte nicht geschrieben werden."));
    ++frame_;
    if (const auto progress = progressAfter(frame_, total_, before_)) report(*progress);
    return Pass::done;
}

void Export::pumpAudio() {
    while (audio_->isReadyForMoreMediaData()) {
        bool goesOn = false;
        if (const auto error = errorOf([&] { goesOn = copySound(); })) record(*error);
        if (goesOn) continue;
        audio_->markAsFinished();
        audioEnded_.release();
        return;
    }
}

std::optional<media::PcmSample> Export::nextSound() {
    if (levelled_) return levelled_->next([this] { return audioOutput_->copyNextSample(); });
    std::optional<media::PcmSample> sample = audioOutput_->copyNextSample();
    if (sample) amplify(sample->values, gain_);
    return sample;
}

bool Export::copySound() {
    if (isStopping()) return false;
    std::optional<media::PcmSample> sample = nextSound();
    if (!sample) {
        if (const auto error = audioReader_->error()) {
            if (isOutOfMemory(*error)) throw RecorderError(*error);
            Log::write("Studio", formatted("Der Ton endet bei %.2f s - Grund: %s", soundSeconds_.value_or(0),
                                           error->message().c_str()));
        }
        return false;
    }
    const double end = (sample->presentationTime + sample->duration()).seconds();
    if (!audio_->append(std::move(*sample))) {
        throw writer_->error().value_or(RecorderError("Das Studio-Video konnte nicht geschrieben werden."));
    }
    soundSeconds_ = end;
    return true;
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
    const double seconds = frameSeconds(frame_, fps_);
    isRefused_ = true;
    checkFinishedMovie(file_->path(), form_, {canvas_, frame_, seconds, frameSeconds(1, fps_), soundSeconds_});
    isRefused_ = false;
    const auto zooms = static_cast<std::int64_t>(source_.state().zoomEngine->events().size());
    RenderResult result{file_->target(), frame_, seconds, zooms};
    throwIfStopped();
    file_->putInPlace();
    // The film exists: a failure to log that for lack of memory is no error.
    static_cast<void>(errorOf([&] {
        report(1);
        Log::write("Studio",
                   formatted("fertig: %lld Bilder, %zu Schnitte, %lld Auto-Zooms", static_cast<long long>(frame_),
                             source_.state().settings.cuts.size(), static_cast<long long>(zooms)));
    }));
    return result;
}

void Export::report(double progress) const {
    if (!options_.progress) return;
    if (!options_.postToMain) return options_.progress(progress);
    options_.postToMain([report = options_.progress, progress] { report(progress); });
}

FrameMaker framesOf(const edit::Composition& composition) {
    return [&composition](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                          double sourceTime) { return composition.compose(source, webcam, sourceTime); };
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
