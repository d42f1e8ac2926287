// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder.h"

#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <system_error>
#include <thread>
#include <utility>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "capture/journal/journal_records.h"
#include "capture/journal/recording_documents.h"
#include "capture/live_video.h"
#include "capture/planned_info.h"
#include "capture/pointer/pointer_conversion.h"
#include "capture/recording/decimal_text.h"
#include "capture/recording/fitted_picture.h"
#include "capture/recording/recovered_movie.h"
#include "capture/recording/sound_samples.h"
#include "capture/recordings_root.h"

namespace lumivastor::capture {

namespace {

constexpr int kSystemChannels = 2;
constexpr double kWatchSeconds = 1.0;
constexpr std::chrono::milliseconds kEncoderPoll{2};

const char* trueOrFalse(bool value) {
    return value ? "true" : "false";
}

}  // namespace

Recorder::Recorder(const CaptureServices& services, Options options, std::filesystem::path folder)
    : services_(services),
      options_(std::move(options)),
      folder_(std::move(folder)),
      pointer_(std::make_unique<PointerRecorder>(services_, folder_)) {}

Recorder::~Recorder() {
    notifier_.silence();
    workQueue_.drain();
    watchTimer_.reset();
    windowTracker_.reset();
    if (stream_ && !stopped_) {
        try {
            stream_->stop();
        } catch (const RecorderError& error) {
            Log::write("Capture", "stopCapture meldete: " + error.message());
        }
    }
    stream_.reset();
    videoQueue_.drain();
    systemAudioQueue_.drain();
    microphoneQueue_.drain();
}

std::shared_ptr<WebcamPreview> Recorder::webcamPreviewLayer() const {
    return webcamRecorder_ ? webcamRecorder_->previewLayer() : nullptr;
}

// Starting

struct Recorder::StartStep {
    bool onMain;
    void (Recorder::*run)();
    const char* what;  // see `onSlowStep`
};

void Recorder::start() {
    try {
        prepare();
        startTracker();
        startWebcam();
        startPointer();
        startCapture();
    } catch (...) {
        const RecorderError error = handledError("Unerwarteter Fehler");
        discardWebcam();
        abandon();
        throw error;
    }
}

void Recorder::start(StartCompletion completion) {
    startWatch_.begin();
    runStep(0, std::make_shared<StartCompletion>(std::move(completion)));
}

// Runs a step of a start in the background, and then the next.
void Recorder::runStep(std::size_t index, const std::shared_ptr<StartCompletion>& completion) {
    static constexpr std::array kSteps{StartStep{false, &Recorder::prepare, "Bereite die Aufnahme vor …"},
                                       StartStep{true, &Recorder::startTracker, ""},
                                       StartStep{false, &Recorder::startWebcam, "Öffne die Kamera …"},
                                       StartStep{true, &Recorder::startPointer, ""},
                                       StartStep{false, &Recorder::startCapture, "Öffne Bildschirm und Ton …"}};
    if (index == kSteps.size()) {
        notifier_.postToMain([this, completion] {
            startWatch_.end();
            (*completion)(std::nullopt);
        });
        return;
    }
    const StartStep& step = kSteps[index];
    const auto work = [this, index, completion, &step] {
        try {
            startWatch_.step(step.what);
            (this->*step.run)();
        } catch (...) {
            workQueue_.async([this, completion, reason = handledError("Unerwarteter Fehler")] {
                discardWebcam();
                notifier_.postToMain([this, completion, reason] {
                    startWatch_.end();
                    abandon();
                    (*completion)(reason);
                });
            });
            return;
        }
        runStep(index + 1, completion);
    };
    if (step.onMain) {
        notifier_.postToMain(work);
    } else {
        workQueue_.async(work);
    }
}

void Recorder::prepare() {
    createRecordingFolder(folder_);
    plan_ = planCapture(options_, services_.desktop.shareableContent());
    journal_ = std::make_unique<Journal>(folder_);
    journal_->append(journalLine::start(plannedInfo(*plan_, options_), plan_->geometry));
    if (plan_->windowID) {
        windowTracker_ =
            std::make_unique<WindowFrameTracker>(services_, *plan_->windowID, plan_->space, journal_.get());
    }
    makeWriter();
    const auto space = services_.freeSpace(folder_);
    if (space && mustStop(*space, spaceNeed())) {
        throw RecorderError("Auf dem Datenträger ist zu wenig Platz für eine Aufnahme.");
    }
    makeStream();
}

void Recorder::makeWriter() {
    const int width = plan_->width();
    const int height = plan_->height();
    writer_ = std::make_unique<media::AssetWriter>(folder_ / "source.mov", media::MovieContainer::quickTime);
    writer_->setMovieFragmentInterval(kFragmentInterval);

    const media::EncodingJob job = screenEncodingJob({width, height}, options_.fps);
    media::VideoSettings settings = liveVideoSettings(width, height, options_.fps, job.averageBitRate);
    if (!canAddVideo(settings)) throw RecorderError("Videospur konnte nicht angelegt werden.");
    startWatch_.step("Suche einen passenden Encoder …");
    const media::EncoderChoice choice = services_.chooseEncoder(job);
    choice.applyTo(settings);
    videoInput_ = &writer_->addVideoInput(settings);
    videoInput_->setExpectsMediaDataInRealTime(true);
    double bits = static_cast<double>(job.averageBitRate);

    if (options_.systemAudio) {
        const media::AudioSettings sound = liveSoundSettings(kSystemChannels);
        if (!canAddSound(sound)) throw RecorderError("Spur für den Systemton konnte nicht angelegt werden.");
        systemAudioInput_ = &writer_->addAudioInput(sound);
        systemAudioInput_->setExpectsMediaDataInRealTime(true);
        bits += sound.bitRate;
    }
    if (options_.microphone) {
        const auto device = services_.sound.defaultMicrophone();
        microphoneChannels_ = microphoneChannels(device ? device->channels : 0);
        const media::AudioSettings sound = liveSoundSettings(microphoneChannels_);
        if (!canAddSound(sound)) throw RecorderError("Spur für das Mikrofon konnte nicht angelegt werden.");
        microphoneInput_ = &writer_->addAudioInput(sound);
        microphoneInput_->setExpectsMediaDataInRealTime(true);
        bits += sound.bitRate;
    }
    if (options_.webcam) bits += static_cast<double>(kWebcamBitRate);
    bytesPerSecond_ = bits / 8;

    if (!writer_->startWriting()) {
        throw writer_->error().value_or(RecorderError("Die Aufnahmedatei konnte nicht geöffnet werden."));
    }
    std::string reason = choice.reason;
    if (reason.ends_with('.')) reason.pop_back();
    Log::write("Capture", "Writer bereit: " + choice.candidate.encoder + " (" + reason + "), Bitrate " +
                              std::to_string(job.averageBitRate / 1'000'000) + " Mbit/s");
}

void Recorder::makeStream() {
    stream_ = services_.desktop.makeCaptureStream(plan_->filter, plan_->configuration);
    stream_->onStop([this](const RecorderError& error) {
        Log::write("Capture", "Stream abgebrochen: " + error.message());
        notifier_.giveUp(error);
    });
    stream_->onNotice([this](const std::string& sentence) { notifier_.notice(sentence); });
    stream_->onDisplayOrigin([this](double hostSeconds, Point pixels) { handleDisplayOrigin(hostSeconds, pixels); });
    stream_->addScreenOutput(videoQueue_,
                             [this](const platform::ScreenSample& sample) { guarded([&] { handleScreen(sample); }); });
    if (systemAudioInput_ != nullptr) {
        stream_->addSystemAudioOutput(systemAudioQueue_, [this](const platform::SoundBuffer& sound) {
            guarded([&] { handleSound(*systemAudioInput_, kSystemChannels, sound); });
        });
    }
    if (microphoneInput_ != nullptr) {
        stream_->addMicrophoneOutput(microphoneQueue_, [this](const platform::SoundBuffer& sound) {
            guarded([&] { handleSound(*microphoneInput_, microphoneChannels_, sound); });
        });
    }
}

void Recorder::startTracker() {
    if (windowTracker_) windowTracker_->start();
}

void Recorder::startPointer() {
    pointer_->start(plan_->space, journal_.get());
    watchTimer_ = services_.mainLoop.every(kWatchSeconds, [this] { watch(); });
}

void Recorder::startWebcam() {
    if (!options_.webcam) return;
    auto webcam = std::make_unique<WebcamRecorder>(services_);
    webcam->onFirstPicture = [this](double seconds) { journal_->append(journalLine::webcam(seconds)); };
    webcam->onNotice = [this](const std::string& sentence) { notifier_.notice(sentence); };
    try {
        webcam->start(folder_);
        webcamRecorder_ = std::move(webcam);
    } catch (const RecorderError& error) {
        Log::write("Webcam", "Start fehlgeschlagen: " + error.message());
        notifier_.notice("Die Kamera wird nicht aufgenommen: " + error.message());
    }
}

void Recorder::startCapture() {
    stream_->start();
    Log::write("Capture",
               formatted("gestartet: %d×%d @ %d fps, Ton=%s Mikro=%s, Skalierung=", plan_->width(), plan_->height(),
                         options_.fps, trueOrFalse(options_.systemAudio), trueOrFalse(options_.microphone)) +
                   decimalText(plan_->geometry.pointPixelScale));
}

// Takes the webcam back. It may take seconds to stop: not on the main thread, unless that started in the foreground.
void Recorder::discardWebcam() {
    if (!webcamRecorder_) return;
    webcamRecorder_->stop();
    std::error_code ignored;
    std::filesystem::remove(folder_ / "webcam.mov", ignored);
}

// Takes everything else back that a failed start has done. Main thread.
void Recorder::abandon() {
    abandoned_ = true;
    notifier_.setStopped();
    watchTimer_.reset();
    pointer_->stop();
    windowTracker_.reset();
    stream_.reset();
    if (writer_) writer_->cancelWriting();
    discardFolder();
}

// Nothing was recorded: what the companions wrote goes, and the folder with it unless somebody else put things there.
void Recorder::discardFolder() {
    if (journal_) journal_->remove();
    std::error_code ignored;
    std::filesystem::remove_all(folder_ / "cursors", ignored);
    std::filesystem::remove(folder_, ignored);
}

// While it runs

void Recorder::guarded(const std::function<void()>& step) {
    try {
        step();
    } catch (...) {
        const RecorderError error = handledError("Unerwarteter Fehler");
        Log::write("Capture", "Aufnahme gestört: " + error.message());
        notifier_.giveUp(error);
    }
}

// On the stream's thread.
void Recorder::handleDisplayOrigin(double hostSeconds, Point pixels) {
    const DisplaySample sample{hostSeconds, plan_->space.pointFromPixel(pixels)};
    const Point atStart{plan_->geometry.displayBounds.x, plan_->geometry.displayBounds.y};
    {
        const std::lock_guard hold(lock_);
        const Point before = displayOriginAt(displayTrack_, std::numeric_limits<double>::infinity(), atStart);
        if (before == sample.point) return;
        displayTrack_.push_back(sample);
    }
    journal_->append(journalLine::display(sample));
    Log::write("Capture", formatted("Bildschirm beginnt jetzt bei %.0f, %.0f", pixels.x, pixels.y));
}

bool Recorder::beginSessionIfNeeded(const MediaTime& time) {
    RecordingProgress begun;
    {
        const std::lock_guard hold(lock_);
        const bool writing = writer_->status() == media::AssetWriter::Status::writing;
        const auto session = progress_.beginSessionIfNeeded(writing, time, services_.hostClock());
        if (session != RecordingProgress::Session::begun) return session == RecordingProgress::Session::running;
        // Under the lock: nobody appends before the session has begun.
        writer_->startSession(time);
        begun = progress_;
    }
    journal_->append(journalLine::session(begun.t0Host, begun.t0Media));
    Log::write("Capture", formatted("Zeitbasis: Host-Uhr %.3f s, Medienzeit %.3f s, Abstand %.1f ms", begun.t0Host,
                                    begun.t0Media, (begun.t0Media - begun.t0Host) * 1000));
    return true;
}

void Recorder::handleScreen(const platform::ScreenSample& sample) {
    if (!std::isfinite(sample.hostSeconds)) return;
    const MediaTime time = hostTime(sample.hostSeconds);
    appendWaiting(time);
    if (!isNewPicture(sample.status, sample.image != nullptr)) {
        const std::lock_guard hold(lock_);
        ++progress_.framesSkippedIdle;
        return;
    }
    if (!beginSessionIfNeeded(time)) return;
    {
        const std::lock_guard hold(lock_);
        if (progress_.isBeforeSession(time)) {
            waiting_.keepForStart(sample.image, hostTime(progress_.t0Host));
            return;
        }
    }
    if (!videoInput_->isReadyForMoreMediaData()) {
        countLost(waiting_.keep(sample.image, time));
        return;
    }
    countLost(waiting_.giveUp());
    append({sample.image, time});
}

void Recorder::countLost(std::int64_t pictures) {
    const std::lock_guard hold(lock_);
    progress_.framesDropped += pictures;
}

// On every sample, also idle ones, which a still screen delivers at each tick.
void Recorder::appendWaiting(const MediaTime& now) {
    while (!waiting_.isEmpty() && videoInput_->isReadyForMoreMediaData()) {
        const auto picture = waiting_.next(now);
        if (!picture) return;
        append(*picture);
    }
}

// Nothing follows: what still waits has the time that the encoder takes anyway.
void Recorder::appendRest() {
    const MediaTime end = waiting_.lastTime().value_or(MediaTime{});
    while (!waiting_.isEmpty()) {
        if (!videoInput_->isReadyForMoreMediaData()) {
            std::this_thread::sleep_for(kEncoderPoll);
            continue;
        }
        const auto picture = waiting_.next(end);
        if (!picture) break;
        append(*picture);
    }
    countLost(waiting_.giveUp());
}

// A still screen delivers the same picture again and again, which the writer stores for next to nothing.
void Recorder::append(const WaitingPicture::Picture& picture) {
    const bool isRepeat = picture.image == lastPicture_;
    lastPicture_ = picture.image;
    const bool isTaken =
        isRepeat ? videoInput_->appendRepeat(picture.time)
                 : videoInput_->append(fittedPicture(picture.image, plan_->width(), plan_->height()), picture.time);
    if (!isTaken) {
        const RecorderError error = writer_->error().value_or(RecorderError("Der Film wird nicht mehr geschrieben."));
        Log::write("Capture", "Videobild abgelehnt: " + error.message());
        notifier_.giveUp(error);
        return;
    }
    const std::lock_guard hold(lock_);
    progress_.pictureWritten(picture.time);
}

void Recorder::handleSound(media::AudioWriterInput& input, int channels, const platform::SoundBuffer& sound) {
    if (!std::isfinite(sound.hostSeconds) || sound.sampleRate != plan_->configuration.sampleRate) return;
    const MediaTime time = hostTime(sound.hostSeconds);
    if (!beginSessionIfNeeded(time)) return;
    if (!input.isReadyForMoreMediaData() || !input.append(pcmSample(sound, channels))) return;
    const std::lock_guard hold(lock_);
    progress_.sampleWritten(time);
}

void Recorder::watch() {
    JournalCounts counts;
    {
        const std::lock_guard hold(lock_);
        counts = {progress_.framesSkippedIdle, progress_.framesDropped, 0};
    }
    counts.missingCursorPolls = pointer_->missingCursorPolls();
    journal_->append(journalLine::counts(counts));
    if (writer_->status() == media::AssetWriter::Status::failed) {
        notifier_.giveUp(writer_->error().value_or(RecorderError("Der Film wird nicht mehr geschrieben.")));
        return;
    }
    const auto space = services_.freeSpace(folder_);
    if (space && mustStop(*space, spaceNeed())) notifier_.giveUp(diskNearlyFull());
}

SpaceNeed Recorder::spaceNeed() const {
    const Stats now = snapshot();
    const int soundTracks = (options_.systemAudio ? 1 : 0) + (options_.microphone ? 1 : 0);
    return {bytesPerSecond_, finishingBytes(now.framesWritten, now.duration * soundTracks, pointer_->eventCount())};
}

Recorder::Stats Recorder::snapshot() const {
    const std::int64_t events = pointer_->eventCount();
    const std::lock_guard hold(lock_);
    return {progress_.elapsed(services_.hostClock()), progress_.framesWritten, progress_.framesSkippedIdle,
            progress_.framesDropped, events};
}

// Stopping

void Recorder::stop(StopCompletion completion) {
    if (std::exchange(stopped_, true)) return;
    notifier_.setStopped();
    if (!abandoned_) pointer_->stop();
    if (!stream_) {
        services_.mainLoop.async(
            [completion = std::move(completion)] { completion(RecorderError("Es lief keine Aufnahme.")); });
        return;
    }
    if (windowTracker_) windowTracker_->stop();
    watchTimer_.reset();
    workQueue_.async([this, completion = std::move(completion)] {
        try {
            stream_->stop();
        } catch (...) {
            Log::write("Capture", "stopCapture meldete: " + handledError("Unerwarteter Fehler").message());
        }
        videoQueue_.drain();
        systemAudioQueue_.drain();
        microphoneQueue_.drain();
        Outcome outcome;
        try {
            outcome = finish();
        } catch (...) {
            outcome = unfinished(handledError("Unerwarteter Fehler"));
        }
        // Not `postToMain`: who stops a recording hears of it, also when the recorder has gone meanwhile.
        services_.mainLoop.async([completion, outcome = std::move(outcome)] { completion(outcome); });
    });
}

Recorder::Stats Recorder::finish() {
    appendRest();
    lastPicture_.reset();
    RecordingProgress progress;
    {
        const std::lock_guard hold(lock_);
        progress = progress_;
    }
    if (!progress.sessionStarted) {
        writer_->cancelWriting();
        discardWebcam();
        discardFolder();
        throw RecorderError(
            "Es wurde kein einziges Bild aufgenommen. Fehlt die Berechtigung für die Bildschirmaufnahme?");
    }
    videoInput_->markAsFinished();
    if (systemAudioInput_ != nullptr) systemAudioInput_->markAsFinished();
    if (microphoneInput_ != nullptr) microphoneInput_->markAsFinished();
    writer_->endSession(progress.lastPTS);
    Stats stats{progress.duration(), progress.framesWritten, progress.framesSkippedIdle, progress.framesDropped, 0};
    if (!writer_->finishWriting()) {
        const RecorderError reason =
            writer_->error().value_or(RecorderError("Die Aufnahme konnte nicht abgeschlossen werden."));
        Log::write("Capture", "Writer fehlgeschlagen: " + reason.message());
        stats = rescue(reason, stats);
    }
    writeDocuments(progress, stats);
    return stats;
}

// What the failed writer has left, as a movie. Throws `reason` when that is nothing.
Recorder::Stats Recorder::rescue(const RecorderError& reason, Stats stats) {
    try {
        const RecoveredMovie movie = recoverMovie(writer_->path());
        stats.duration = movie.lastPicture;
        stats.framesWritten = movie.pictures;
    } catch (const RecorderError& error) {
        Log::write("Capture", "nicht zu retten: " + error.message());
        if (webcamRecorder_) webcamRecorder_->stop();
        throw RecorderError(reason);
    }
    notifier_.notice("Die Aufnahme endete vorzeitig: " + reason.message() +
                     " Was bis dahin aufgenommen wurde, ist gesichert.");
    return stats;
}

// Why the recording could not be finished, with what can be done about it where something can.
RecorderError Recorder::unfinished(const RecorderError& reason) const {
    if (!isUnfinishedRecording(folder_)) return RecorderError(reason.message());
    const auto space = services_.freeSpace(folder_);
    return notCompleted(reason, folder_, space && mustStop(*space, spaceNeed()));
}

void Recorder::writeDocuments(const RecordingProgress& progress, Stats& stats) {
    RecordingOutcome outcome;
    if (webcamRecorder_) outcome.webcamFirstPicture = webcamRecorder_->stop();
    std::optional<WindowTrack> windowTrack;
    if (windowTracker_) windowTrack = windowTracker_->frames();
    DisplayTrack displayTrack;
    {
        const std::lock_guard hold(lock_);
        displayTrack = displayTrack_;
    }
    outcome.pointerEvents = pointer_->save(folder_, progress.t0Host, plan_->geometry, windowTrack, displayTrack);
    stats.pointerEvents = outcome.pointerEvents;
    outcome.t0Host = progress.t0Host;
    outcome.t0Media = progress.t0Media;
    outcome.duration = stats.duration;
    outcome.framesWritten = stats.framesWritten;
    outcome.counts = {progress.framesSkippedIdle, progress.framesDropped, pointer_->missingCursorPolls()};
    saveCaptureInfo(folder_, plannedInfo(*plan_, options_), outcome);
    journal_->remove();
    Log::write(
        "Capture",
        formatted("fertig: %.1f s, %lld Bilder, %lld leer, %lld verworfen, %lld Zeigerereignisse", stats.duration,
                  static_cast<long long>(stats.framesWritten), static_cast<long long>(progress.framesSkippedIdle),
                  static_cast<long long>(progress.framesDropped), static_cast<long long>(outcome.pointerEvents)));
}

}  // namespace lumivastor::capture
