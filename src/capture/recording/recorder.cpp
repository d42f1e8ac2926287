// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder.h"

#include <algorithm>
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
#include "capture/live_video.h"
#include "capture/pauses/sound_pieces.h"
#include "capture/planned_info.h"
#include "capture/pointer/pointer_conversion.h"
#include "capture/recording/decimal_text.h"
#include "capture/recording/fitted_picture.h"
#include "capture/recording/sound_samples.h"

namespace lumivastor::capture {

namespace {

constexpr int kSystemChannels = 2;
constexpr std::chrono::milliseconds kEncoderPoll{2};

const char* trueOrFalse(bool value) {
    return value ? "true" : "false";
}

}  // namespace

Recorder::Recorder(const CaptureServices& services, Options options, std::filesystem::path folder)
    : services_(services),
      options_(std::move(options)),
      files_(services_, notifier_, std::move(folder)),
      pointer_(std::make_unique<PointerRecorder>(services_, files_.folder())),
      movie_(notifier_, files_.folder() / "source.mov") {}

Recorder::~Recorder() {
    run_.end();
    windowTracker_.reset();
    if (stream_ && !run_.isStopped()) {
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

// Starting

void Recorder::start() {
    run_.start(startSteps());
}

void Recorder::start(StartCompletion completion) {
    run_.start(startSteps(), std::move(completion));
}

RecorderRun::Start Recorder::startSteps() {
    using enum RecorderRun::Step::Thread;
    return {{{any, "Bereite die Aufnahme vor …", [this] { prepare(); }},
             {main, "", [this] { startTracker(); }},
             {any, "Öffne die Kamera …", [this] { startWebcam(); }},
             {main, "", [this] { startPointer(); }},
             {any, "Öffne Bildschirm und Ton …", [this] { startCapture(); }}},
            [this] { files_.discardWebcam(); },
            [this] { abandon(); }};
}

void Recorder::prepare() {
    files_.createFolder();
    plan_ = planCapture(options_, services_.desktop.shareableContent());
    files_.beginJournal(plannedInfo(*plan_, options_), plan_->geometry);
    if (plan_->windowID) {
        windowTracker_ =
            std::make_unique<WindowFrameTracker>(services_, *plan_->windowID, plan_->space, files_.journal());
    }
    openMovie();
    if (files_.isDiskNearlyFull(spaceNeed())) {
        throw RecorderError("Auf dem Datenträger ist zu wenig Platz für eine Aufnahme.");
    }
    makeStream();
}

void Recorder::openMovie() {
    const int width = plan_->width();
    const int height = plan_->height();
    const media::EncodingJob job = screenEncodingJob({width, height}, options_.fps);
    SourceMovie::Tracks tracks;
    tracks.video = screenVideoSettings(width, height, options_.fps, job.averageBitRate);
    if (!canAddVideo(tracks.video)) throw RecorderError("Videospur konnte nicht angelegt werden.");
    run_.nowDoing("Suche einen passenden Encoder …");
    const media::EncoderChoice choice = services_.chooseEncoder(job);
    choice.applyTo(tracks.video);
    double bits = static_cast<double>(job.averageBitRate);

    if (options_.systemAudio) {
        tracks.source = liveSoundSettings(kSystemChannels);
        if (!canAddSound(*tracks.source)) {
            throw RecorderError("Spur für den Systemton konnte nicht angelegt werden.");
        }
        bits += tracks.source->bitRate;
    }
    if (options_.microphone) {
        const auto device = services_.sound.defaultMicrophone();
        tracks.microphone = liveSoundSettings(microphoneChannels(device ? device->channels : 0));
        if (!canAddSound(*tracks.microphone)) {
            throw RecorderError("Spur für das Mikrofon konnte nicht angelegt werden.");
        }
        bits += tracks.microphone->bitRate;
    }
    if (options_.webcam) bits += static_cast<double>(kWebcamBitRate);
    bytesPerSecond_ = bits / 8;

    movie_.open(tracks);
    std::string reason = choice.reason;
    if (reason.ends_with('.')) reason.pop_back();
    Log::write("Capture", "Writer bereit: " + choice.candidate.encoder + " (" + reason + "), Bitrate " +
                              std::to_string(job.averageBitRate / 1'000'000) + " Mbit/s");
}

void Recorder::makeStream() {
    using enum SourceMovie::SoundTrack;
    stream_ = services_.desktop.makeCaptureStream(plan_->filter, plan_->configuration);
    stream_->onStop([this](const RecorderError& error) {
        Log::write("Capture", "Stream abgebrochen: " + error.message());
        notifier_.giveUp(error);
    });
    stream_->onNotice([this](const std::string& sentence) { notifier_.notice(sentence); });
    stream_->onDisplayOrigin([this](double hostSeconds, Point pixels) { handleDisplayOrigin(hostSeconds, pixels); });
    stream_->addScreenOutput(
        videoQueue_, [this](const platform::ScreenSample& sample) { notifier_.guard([&] { handleScreen(sample); }); });
    if (movie_.has(source)) {
        stream_->addSystemAudioOutput(systemAudioQueue_, [this](const platform::SoundBuffer& sound) {
            notifier_.guard([&] { handleSound(source, sound); });
        });
    }
    if (movie_.has(microphone)) {
        stream_->addMicrophoneOutput(microphoneQueue_, [this](const platform::SoundBuffer& sound) {
            notifier_.guard([&] { handleSound(microphone, sound); });
        });
    }
}

void Recorder::startTracker() {
    if (windowTracker_) windowTracker_->start();
}

void Recorder::startWebcam() {
    if (options_.webcam) files_.startWebcam();
}

void Recorder::startPointer() {
    pointer_->start(plan_->space, files_.journal());
    run_.checkEverySecond([this] { check(); });
}

void Recorder::startCapture() {
    stream_->start();
    Log::write("Capture",
               formatted("gestartet: %d×%d @ %d fps, Ton=%s Mikro=%s, Skalierung=", plan_->width(), plan_->height(),
                         options_.fps, trueOrFalse(options_.systemAudio), trueOrFalse(options_.microphone)) +
                   decimalText(plan_->geometry.pointPixelScale));
}

// Undoes everything but the webcam of a failed start. Main thread.
void Recorder::abandon() {
    abandoned_ = true;
    notifier_.setStopped();
    pointer_->stop();
    windowTracker_.reset();
    stream_.reset();
    movie_.cancel();
    discardFolder();
}

// Nothing was recorded: removes what the companions wrote, and the folder too unless it has other files.
void Recorder::discardFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(files_.folder() / "cursors", ignored);
    files_.discard();
}

// While it runs

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
    files_.note(journalLine::display(sample));
    Log::write("Capture", formatted("Bildschirm beginnt jetzt bei %.0f, %.0f", pixels.x, pixels.y));
}

bool Recorder::beginSessionIfNeeded(const MediaTime& time) {
    const auto session = movie_.beginSessionIfNeeded(time, services_.hostClock());
    if (session != RecordingProgress::Session::begun) return session == RecordingProgress::Session::running;
    const RecordingProgress begun = movie_.progress();
    const double t0Host = files_.pauses()->hostTime(begun.t0Host);
    files_.note(journalLine::session(t0Host, begun.t0Media));
    Log::write("Capture", formatted("Zeitbasis: Host-Uhr %.3f s, Medienzeit %.3f s, Abstand %.1f ms", t0Host,
                                    begun.t0Media, (begun.t0Media - t0Host) * 1000));
    return true;
}

void Recorder::handleScreen(const platform::ScreenSample& sample) {
    const std::uint64_t number = sample.image ? damage_.delivered(sample.damage) : 0;
    if (!std::isfinite(sample.hostSeconds)) return;
    const auto pauses = files_.pauses();
    const MediaTime time = hostTime(pauses->nearestMovieTime(sample.hostSeconds));
    const bool isNew = isNewPicture(sample.status, sample.image != nullptr);
    appendWaiting(time);
    if (!pauses->movieTime(sample.hostSeconds)) {
        if (isNew) unseen_ = {sample.image, time, number};
        return;
    }
    takeUnseen();
    if (isNew) {
        take({sample.image, time, number});
    } else {
        movie_.pictureSkipped();
    }
}

void Recorder::take(const WaitingPicture::Picture& picture) {
    if (!beginSessionIfNeeded(picture.time)) return;
    const RecordingProgress progress = movie_.progress();
    if (progress.isBeforeSession(picture.time)) {
        waiting_.keepForStart(picture.image, hostTime(progress.t0Host), picture.number);
        return;
    }
    if (!movie_.video().isReadyForMoreMediaData()) {
        movie_.picturesDropped(waiting_.keep(picture.image, picture.time, picture.number));
        return;
    }
    movie_.picturesDropped(waiting_.giveUp());
    append(picture);
}

// After a pause. What the screen came to show meanwhile may stay for long; the picture from before must not.
void Recorder::takeUnseen() {
    const auto unseen = std::exchange(unseen_, std::nullopt);
    if (!unseen) return;
    // The stream has taken a newer picture if this one is gone. That one will arrive soon.
    if (const auto image = unseen->image.lock()) take({image, unseen->time, unseen->number});
}

// On every sample, also idle ones, which a still screen delivers at each tick.
void Recorder::appendWaiting(const MediaTime& now) {
    while (!waiting_.isEmpty() && movie_.video().isReadyForMoreMediaData()) {
        const auto picture = waiting_.next(now);
        if (!picture) return;
        append(*picture);
    }
}

// Nothing follows: the waiting picture has the time that the encoder takes anyway.
void Recorder::appendRest() {
    const MediaTime end = waiting_.lastTime().value_or(MediaTime{});
    while (!waiting_.isEmpty()) {
        if (!movie_.video().isReadyForMoreMediaData()) {
            std::this_thread::sleep_for(kEncoderPoll);
            continue;
        }
        const auto picture = waiting_.next(end);
        if (!picture) break;
        append(*picture);
    }
    movie_.picturesDropped(waiting_.giveUp());
}

// A still screen delivers the same picture repeatedly; storing a repeat costs the writer almost nothing.
void Recorder::append(const WaitingPicture::Picture& picture) {
    // A stream may tell a time that is yet to come. If a pause begins before it, the next picture's is earlier.
    const MediaTime time = lastPictureTime_ = std::max(lastPictureTime_, picture.time);
    const bool isRepeat = picture.image == lastPicture_;
    lastPicture_ = picture.image;
    media::VideoWriterInput& video = movie_.video();
    imaging::KnownDamage damage = damage_.appended(picture.number);
    bool isTaken = false;
    if (isRepeat) {
        isTaken = video.appendRepeat(time);
    } else {
        auto fitted = fittedPicture(picture.image, plan_->width(), plan_->height());
        if (fitted != picture.image) damage.reset();
        isTaken = video.append(std::move(fitted), time, std::move(damage));
    }
    if (!isTaken) {
        const RecorderError error = movie_.refusal();
        Log::write("Capture", "Videobild abgelehnt: " + error.message());
        notifier_.giveUp(error);
        return;
    }
    movie_.pictureWritten(time);
}

void Recorder::handleSound(SourceMovie::SoundTrack track, const platform::SoundBuffer& sound) {
    if (!std::isfinite(sound.hostSeconds) || sound.sampleRate != plan_->configuration.sampleRate) return;
    for (const SoundPiece& piece : cutters_[static_cast<std::size_t>(track)].pieces(*files_.pauses(), sound)) {
        const MediaTime time = hostTime(piece.hostSeconds);
        if (beginSessionIfNeeded(time)) movie_.append(track, piece, time);
    }
}

void Recorder::pause(PauseCause cause) {
    if (stream_ && !run_.isStopped()) files_.pause(cause == PauseCause::pointer);
}

void Recorder::check() {
    files_.note(journalLine::counts(counts()));
    files_.watch(movie_, spaceNeed());
}

JournalCounts Recorder::counts() const {
    const RecordingProgress progress = movie_.progress();
    return {progress.framesSkippedIdle, progress.framesDropped, pointer_->missingCursorPolls()};
}

SpaceNeed Recorder::spaceNeed() const {
    const Stats now = snapshot();
    return {bytesPerSecond_,
            finishingBytes(now.framesWritten, now.duration * movie_.soundTracks(), now.pointerEvents.value_or(0))};
}

RecordingJob::Stats Recorder::snapshot() const {
    const std::int64_t events = pointer_->eventCount();
    const RecordingProgress progress = movie_.progress();
    const double now = files_.pauses()->nearestMovieTime(services_.hostClock());
    return {progress.elapsed(now), progress.framesWritten, progress.framesSkippedIdle, progress.framesDropped, events};
}

RecordingHealth Recorder::health() const {
    RecordingHealth health = files_.health(spaceNeed());
    health.seconds = snapshot().duration;
    health.fps = options_.fps;
    health.screen = movie_.health();
    health.missed = stream_ ? stream_->picturesMissed() : 0;
    return health;
}

// Stopping

void Recorder::stop(StopCompletion completion) {
    if (!run_.beginStop()) return;
    if (!abandoned_) pointer_->stop();
    if (!stream_) {
        run_.finishNothing(std::move(completion));
        return;
    }
    if (windowTracker_) windowTracker_->stop();
    run_.finish([this] { return finish(); },
                [this](const RecorderError& reason) { return files_.unfinished(reason, spaceNeed()); },
                std::move(completion));
}

void Recorder::stopCapture() {
    try {
        stream_->stop();
    } catch (...) {
        Log::write("Capture", "stopCapture meldete: " + handledError("Unerwarteter Fehler").message());
    }
    videoQueue_.drain();
    systemAudioQueue_.drain();
    microphoneQueue_.drain();
}

RecordingJob::Stats Recorder::finish() {
    stopCapture();
    const std::shared_ptr<const Pauses> pauses = files_.pauses();
    if (!pauses->isPaused()) takeUnseen();
    appendRest();
    lastPicture_.reset();
    const RecordingProgress progress = movie_.progress();
    if (!progress.sessionStarted) {
        movie_.cancel();
        files_.discardWebcam();
        discardFolder();
        throw RecorderError(
            "Es wurde kein einziges Bild aufgenommen. Fehlt die Berechtigung für die Bildschirmaufnahme?");
    }
    SourceMovie::Content content;
    try {
        content = movie_.finish(progress.lastPTS);
    } catch (...) {
        files_.stopWebcam();
        throw;
    }

    RecordingOutcome outcome;
    outcome.webcamFirstPicture = files_.stopWebcam();
    std::optional<WindowTrack> windowTrack;
    if (windowTracker_) windowTrack = windowTracker_->frames();
    DisplayTrack displayTrack;
    {
        const std::lock_guard hold(lock_);
        displayTrack = displayTrack_;
    }
    outcome.t0Host = pauses->hostTime(progress.t0Host);
    outcome.t0Media = progress.t0Media;
    outcome.duration = content.duration;
    outcome.framesWritten = content.pictures;
    outcome.counts = counts();
    outcome.pauses = *pauses;
    outcome.pointerEvents =
        pointer_->save(files_.folder(), outcome.t0Host, plan_->geometry, windowTrack, displayTrack, *pauses);
    model::CaptureInfo info = plannedInfo(*plan_, options_);
    info.pointerKnown = pointer_->known();
    files_.complete(info, outcome);
    const Stats stats{outcome.duration, outcome.framesWritten, outcome.counts.framesSkippedIdle,
                      outcome.counts.framesDropped, outcome.pointerEvents};
    Log::write("Capture", formatted("fertig: %.1f s, %lld Bilder, %lld leer, %lld verworfen, %lld Zeigerereignisse",
                                    stats.duration, static_cast<long long>(outcome.framesWritten),
                                    static_cast<long long>(outcome.counts.framesSkippedIdle),
                                    static_cast<long long>(outcome.counts.framesDropped),
                                    static_cast<long long>(outcome.pointerEvents)));
    return stats;
}

}  // namespace lumivastor::capture
