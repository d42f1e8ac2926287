// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/movie_renderer.h"

#include <atomic>
#include <chrono>
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
#include "imaging/painting/painter.h"
#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/asset_writer.h"
#include "render/background.h"
#include "render/cut_composition.h"
#include "render/export_plan.h"
#include "render/finished_movie.h"
#include "render/pending_movie.h"
#include "render/picture_stream.h"

namespace lumivastor::render {

namespace {

// How long a picture is retried while there is no memory for it.
constexpr int kMemoryAttempts = 200;
constexpr std::chrono::milliseconds kMemoryPause{10};

constexpr const char* kUndecodable = "Das Video lässt sich ab Sekunde %.0f nicht mehr dekodieren.";
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

// Whether it is one of the recording's own files, which an export must not replace.
bool belongsTo(const edit::Recording& recording, const std::filesystem::path& file) {
    std::error_code ignored;  // a missing folder is not the recording's
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    if (std::filesystem::equivalent(folder, recording.folder / "cursors", ignored)) return true;
    if (!std::filesystem::equivalent(folder, recording.folder, ignored)) return false;
    const std::filesystem::path name = file.filename();
    for (const char* own : {"source.mov", "capture.json", "pointer.json", "project.json", "journal"}) {
        if (name == own) return true;
    }
    return recording.hasWebcam() && std::filesystem::equivalent(file, recording.webcamFile, ignored);
}

// One export. Made, run and destroyed on the calling thread.
class Export {
  public:
    Export(const edit::Composition& composition, const FrameMaker& makeFrame, const RenderOptions& options)
        : recording_(composition.recording()),
          state_(composition.state()),
          canvas_{composition.canvasWidth(), composition.canvasHeight()},
          makeFrame_(makeFrame),
          options_(options),
          format_(options.format.value_or(state_->settings.exportFormat)),
          fps_(recording_.info.fps) {}

    RenderResult run() {
        checkFrameRate(fps_);
        throwIfStopped();
        const CutComposition cut = openCut();
        openStreams(cut);
        prepareWriter();
        prepareSound(cut);
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
    CutComposition openCut();
    void openStreams(const CutComposition& cut);
    void prepareWriter();
    void prepareSound(const CutComposition& cut);
    void startWriting();

    // Pumps
    void pumpToTheEnd();
    void startPump(media::WriterInput& input, SerialQueue& queue, std::binary_semaphore& ended, void (Export::*pump)());
    void pumpVideo();
    Pass makePicture();
    Pass paint(const imaging::Picture& picture, const MediaTime& time);
    Pass pictureDone(bool isTaken);
    void pumpAudio();
    bool copySound();

    // End
    RenderResult finish();
    std::filesystem::path target() const;
    void report(double progress) const;

    // Failure and cancellation
    void record(const RecorderError& error) noexcept;
    bool isStopping() const { return hasFailed_ || options_.stop.stop_requested(); }
    void throwIfStopped() const {
        if (options_.stop.stop_requested()) throw RecorderError("Abgebrochen.");
    }

    const edit::Recording& recording_;
    const std::shared_ptr<const edit::EditState> state_;
    const PixelSize canvas_;
    const FrameMaker& makeFrame_;
    const RenderOptions& options_;
    const model::ExportFormat format_;
    const std::int64_t fps_;
    std::vector<ShownSegment> shownSegments_;
    std::int64_t total_ = 0;
    std::optional<std::string> hardware_;  // the encoder in use, when it is one
    bool isRefused_ = false;               // the finished movie differs from what was written
    std::optional<PendingMovie> file_;

    std::mutex exportLock_;
    std::optional<RecorderError> error_;  // guarded by exportLock_; the first one
    std::atomic<bool> hasFailed_ = false;
    std::binary_semaphore videoEnded_{0};
    std::binary_semaphore audioEnded_{0};

    // The video pump's while it runs.
    std::optional<PictureStream> screen_;
    std::optional<PictureStream> webcam_;
    bool webcamIsReadable_ = true;
    imaging::Painter painter_{imaging::paintingThreads()};
    std::optional<imaging::Picture> last_;  // the recipe appended last
    std::int64_t frame_ = 0;                // appended so far: the index of the next
    int memoryAttempts_ = 0;

    // The audio pump's while it runs.
    std::unique_ptr<media::AssetReader> audioReader_;
    media::AudioMixOutput* audioOutput_ = nullptr;
    float gain_ = 1;
    std::optional<double> soundSeconds_;  // where the sound that was appended ends

    // The queues outlive the writer, and everything above outlives what runs on them.
    SerialQueue videoQueue_{"compose.video"};
    SerialQueue audioQueue_{"compose.audio0"};
    std::unique_ptr<media::AssetWriter> writer_;
    media::VideoWriterInput* video_ = nullptr;
    media::AudioWriterInput* audio_ = nullptr;  // none: no sound
};

CutComposition Export::openCut() {
    CutComposition cut;
    if (state_->keptSegments.empty()) {
        // Checked before any movie is opened.
        cut = makeCutComposition(state_->keptSegments, {}, 0);
    } else {
        const RecordingAssets assets = openRecordingAssets(recording_);
        cut = makeCutComposition(state_->keptSegments, assets, recording_.webcamOffset());
    }
    shownSegments_ = cut.shownSegments;
    total_ = frameCount(state_->outputDuration, fps_);
    if (!cut.screenTrackId) throw RecorderError("Die Schnittfassung hat keine Videospur.");
    return cut;
}

// The two tracks have a reader each: damage in the camera's movie then costs its own pictures only.
void Export::openStreams(const CutComposition& cut) {
    constexpr double kNoWebcamYet = -1;
    screen_.emplace(cut.movie, *cut.screenTrackId, PictureStream::Options{"Videoleser", state_->outputDuration, 0});
    screen_->open();
    if (!cut.webcamTrackId) return;
    webcam_.emplace(cut.movie, *cut.webcamTrackId,
                    PictureStream::Options{"Webcamleser", state_->outputDuration, kNoWebcamYet});
    try {
        webcam_->open();
    } catch (const RecorderError& error) {
        if (isOutOfMemory(error)) throw;
        Log::write("Studio", "Webcam-Film wird weggelassen: " + error.message());
        webcam_.reset();
    }
}

std::filesystem::path Export::target() const {
    if (options_.file.empty())
        return recording_.folder / ("studio-output." + std::string(model::fileExtension(format_)));
    if (belongsTo(recording_, options_.file)) {
        throw RecorderError(options_.file.filename().string() +
                            " gehört zur Aufnahme und wird nicht durch das Video ersetzt.");
    }
    return options_.file;
}

void Export::prepareWriter() {
    file_.emplace(target());
    const bool isMp4 = format_ == model::ExportFormat::mp4;
    writer_ = std::make_unique<media::AssetWriter>(
        file_->path(), isMp4 ? media::MovieContainer::mp4 : media::MovieContainer::quickTime,
        file_->target().filename().string());
    media::VideoSettings settings;
    settings.width = canvas_.width;
    settings.height = canvas_.height;
    settings.averageBitRate = exportBitRate(canvas_, fps_);
    settings.maxKeyFrameInterval = static_cast<int>(fps_ * 2);
    settings.frameRate = static_cast<int>(fps_);
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
    SplitMix mix = splitMix(makeAudioMix(recording_.info, state_->settings, cut.audioTrackIds));
    gain_ = mix.gain;
    audioReader_ = std::make_unique<media::AssetReader>(cut.movie);
    audioOutput_ = &audioReader_->addAudioMixOutput(std::move(mix.inputs));
    // Started before the writer, so that unreadable sound leaves no empty track.
    if (!audioReader_->startReading()) {
        const RecorderError error = audioReader_->error().value_or(RecorderError("?"));
        if (isOutOfMemory(error)) throw RecorderError(error);
        Log::write("Studio", "Ton wird weggelassen: " + error.message());
        return;
    }
    audio_ = &writer_->addAudioInput({});
}

void Export::startWriting() {
    throwIfStopped();
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
    if (!screen_->advance(t)) {
        throw RecorderError(formatted(kUndecodable, screen_->lastSeconds()));
    }
    if (webcam_ && webcamIsReadable_) webcamIsReadable_ = webcam_->advance(t);
    // The first picture is also shown before its time: it may come late, or be the first behind damage.
    const imaging::Picture* const source = screen_->current() != nullptr ? screen_->current() : screen_->pending();
    if (source == nullptr) throw RecorderError(formatted(kUndecodable, screen_->lastSeconds()));
    std::optional<imaging::Picture> webcam;
    if (webcam_ && webcam_->current() != nullptr) webcam = *webcam_->current();
    imaging::Picture picture = makeFrame_(*source, webcam, shownSourceTime(shownSegments_, t));
    const MediaTime time = MediaTime::fromSeconds(t, kExportTimescale);
    if (last_ && picture == *last_) return pictureDone(video_->appendRepeat(time));
    const Pass pass = paint(picture, time);
    if (pass == Pass::done) last_ = std::move(picture);
    return pass;
}

Export::Pass Export::paint(const imaging::Picture& picture, const MediaTime& time) {
    std::shared_ptr<imaging::PlanarBuffer> buffer = video_->pool().makePlanar();
    if (!buffer) {
        if (++memoryAttempts_ == kMemoryAttempts) throw RecorderError("Kein Speicher für die Ausgabebilder.");
        std::this_thread::sleep_for(kMemoryPause);
        return Pass::again;
    }
    memoryAttempts_ = 0;
    painter_.paint(picture, buffer->destination());
    return pictureDone(video_->append(std::move(buffer), time));
}

Export::Pass Export::pictureDone(bool isTaken) {
    if (!isTaken) throw writer_->error().value_or(RecorderError("Ein Bild konnte nicht geschrieben werden."));
    ++frame_;
    if (const auto progress = progressAfter(frame_, total_)) report(*progress);
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

bool Export::copySound() {
    if (isStopping()) return false;
    std::optional<media::PcmSample> sample = audioOutput_->copyNextSample();
    if (!sample) {
        if (const auto error = audioReader_->error()) {
            if (isOutOfMemory(*error)) throw RecorderError(*error);
            Log::write("Studio", formatted("Der Ton endet bei %.2f s - Grund: %s", soundSeconds_.value_or(0),
                                           error->message().c_str()));
        }
        return false;
    }
    amplify(sample->values, gain_);
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
    checkFinishedMovie(file_->path(), {canvas_, frame_, seconds, frameSeconds(1, fps_), soundSeconds_});
    isRefused_ = false;
    const auto zooms = static_cast<std::int64_t>(state_->zoomEngine->events().size());
    RenderResult result{file_->target(), frame_, seconds, zooms};
    throwIfStopped();
    file_->putInPlace();
    // The film exists: a failure to log that for lack of memory is no error.
    static_cast<void>(errorOf([&] {
        report(1);
        Log::write("Studio",
                   formatted("fertig: %lld Bilder, %zu Schnitte, %lld Auto-Zooms", static_cast<long long>(frame_),
                             state_->settings.cuts.size(), static_cast<long long>(zooms)));
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
