// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/device_recorder.h"

#include <algorithm>
#include <cmath>
#include <system_error>
#include <utility>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "capture/journal/journal_records.h"
#include "capture/live_video.h"
#include "capture/pauses/sound_pieces.h"
#include "capture/planned_info.h"
#include "capture/recording/recovered_movie.h"
#include "capture/recording/sound_samples.h"

namespace lumivastor::capture {

namespace {

constexpr int kFrameRate = 60;
constexpr int kDeviceChannels = 2;
constexpr int kMicrophoneChannels = 1;

const char* trueOrFalse(bool value) {
    return value ? "true" : "false";
}

media::EncodingJob jobFor(PixelSize size) {
    return {size.width, size.height, kFrameRate, deviceBitRate(size.width, size.height)};
}

}  // namespace

PixelSize deviceSize(int pictureWidth, int pictureHeight) {
    return {pictureWidth & ~1, pictureHeight & ~1};
}

MediaTime deviceEndTime(const MediaTime& now, const MediaTime& lastPTS) {
    return std::max(now, lastPTS);
}

void DeviceRecorder::enableScreenCaptureDevices() {}

std::vector<platform::CaptureDevice> DeviceRecorder::availableDevices(platform::CaptureDevices& devices) {
    std::vector<platform::CaptureDevice> external = devices.externalDevices();
    std::erase_if(external, [](const platform::CaptureDevice& device) { return !device.isExternal; });
    return external;
}

DeviceRecorder::DeviceRecorder(const RecordingServices& services, platform::CaptureDevice device, Options options,
                               std::filesystem::path folder)
    : services_(services),
      device_(std::move(device)),
      options_(options),
      files_(services_, notifier_, std::move(folder)),
      movie_(notifier_, files_.folder() / "source.mov") {}

DeviceRecorder::~DeviceRecorder() {
    run_.end();
    stopSessions();
}

// Starting

void DeviceRecorder::start() {
    run_.start(startSteps());
}

void DeviceRecorder::start(StartCompletion completion) {
    run_.start(startSteps(), std::move(completion));
}

RecorderRun::Start DeviceRecorder::startSteps() {
    using enum RecorderRun::Step::Thread;
    return {{{any, "Öffne „" + device_.name + "“ …", [this] { openDevice(); }},
             {any, "Öffne das Mikrofon …", [this] { openMicrophone(); }},
             {any, "Öffne die Kamera …", [this] { startWebcam(); }},
             {any, "Suche einen passenden Encoder …", [this] { chooseExpectedEncoder(); }},
             {main, "", [this] { begin(); }}},
            [this] { discard(); },
            [] {}};
}

void DeviceRecorder::openDevice() {
    files_.createFolder();
    auto session = services_.devices.open(device_);
    if (!session) throw RecorderError("Das Gerät kann nicht aufgenommen werden.");
    if (!session->addVideoOutput(queue_, false, [this](const platform::DeviceSample& sample) {
            notifier_.guard([&] { handlePicture(sample); });
        })) {
        throw RecorderError("Das Gerätebild kann nicht abgegriffen werden.");
    }
    hasDeviceAudio_ = options_.sound && session->addAudioOutput(queue_, [this](const platform::SoundBuffer& sound) {
        notifier_.guard([&] { handleSound(SourceMovie::SoundTrack::source, sound); });
    });
    session->onInterruption([this](const std::string& reason) {
        Log::write("Device", "unterbrochen: " + reason);
        notifier_.giveUp(RecorderError("Das Gerät liefert kein Bild mehr: " + reason));
    });
    session->onNotice([this](const std::string& sentence) { notifier_.notice(sentence); });
    session_ = std::move(session);
}

// Without a microphone the recording continues.
void DeviceRecorder::openMicrophone() {
    if (!options_.microphone) return;
    try {
        const auto microphone = services_.devices.defaultMicrophone();
        if (!microphone) return;
        auto session = services_.devices.open(*microphone);
        if (!session || !session->addAudioOutput(micQueue_, [this](const platform::SoundBuffer& sound) {
                notifier_.guard([&] { handleSound(SourceMovie::SoundTrack::microphone, sound); });
            })) {
            return;
        }
        session->onInterruption(
            [this](const std::string& reason) { notifier_.notice("Das Mikrofon liefert keinen Ton mehr: " + reason); });
        session->onReturn([this] { notifier_.notice("Das Mikrofon liefert wieder Ton."); });
        micSession_ = std::move(session);
    } catch (const RecorderError& error) {
        Log::write("Device", "ohne Mikrofon: " + error.message());
    }
}

void DeviceRecorder::startWebcam() {
    if (options_.webcam) files_.startWebcam();
}

// Chosen now, so that the first picture need not wait for it. Most devices report the size that they deliver.
void DeviceRecorder::chooseExpectedEncoder() {
    const PixelSize announced = session_->activeFormat();
    expectedSize_ = deviceSize(announced.width, announced.height);
    if (expectedSize_.width > 0 && expectedSize_.height > 0) {
        expectedChoice_ = services_.chooseEncoder(jobFor(expectedSize_));
    }
}

// The devices run from here on; everything that they need must exist.
void DeviceRecorder::begin() {
    running_ = true;
    run_.inBackground([this] {
        notifier_.guard([this] {
            session_->startRunning();
            if (micSession_) micSession_->startRunning();
        });
    });
    run_.checkEverySecond([this] { check(); });
    Log::write("Device", "gestartet: " + device_.name + ", warte auf erstes Bild, Geräteton=" +
                             trueOrFalse(hasDeviceAudio_) + " Mikro=" + trueOrFalse(options_.microphone));
    if (hasDeviceAudio_ || !options_.sound) return;
    notifier_.notice("„" + device_.name + "“ liefert keinen eigenen Ton. Aufgenommen " +
                     (micSession_ ? "werden das Bild und das Mikrofon." : "wird nur das Bild."));
}

// Nothing was recorded: removes what was begun, and the folder too unless it has other files. Not on the main thread,
// unless that started in the foreground.
void DeviceRecorder::discard() {
    movie_.cancel();
    files_.discardWebcam();
    files_.discard();
}

// While it runs

// On the device's queue, which alone opens the movie.
bool DeviceRecorder::openMovieIfNeeded(const imaging::BgraPremultipliedBuffer& firstPicture) {
    if (noMovie_) return false;
    if (isMovieOpen()) return true;
    size_ = deviceSize(firstPicture.width(), firstPicture.height());
    try {
        openMovie();
    } catch (...) {
        // Later pictures could not be recorded either, so the owner gets the error before the stop.
        noMovie_ = handledError("Unerwarteter Fehler");
        Log::write("Device", "Writer-Anlage fehlgeschlagen: " + noMovie_->message());
        notifier_.giveUp(*noMovie_);
        return false;
    }
    fitter_.emplace(size_.width, size_.height);
    Log::write("Device", formatted("Writer angelegt: %d×%d", size_.width, size_.height));
    files_.beginJournal(info(), deviceGeometry(size_));
    const std::lock_guard hold(lock_);
    isMovieOpen_ = true;
    return true;
}

void DeviceRecorder::openMovie() {
    const media::EncodingJob job = jobFor(size_);
    SourceMovie::Tracks tracks;
    tracks.video = liveVideoSettings(size_.width, size_.height, kFrameRate, job.averageBitRate);
    if (!canAddVideo(tracks.video)) throw RecorderError("Die Videospur konnte nicht angelegt werden.");
    const media::EncoderChoice choice =
        expectedChoice_ && expectedSize_ == size_ ? *expectedChoice_ : services_.chooseEncoder(job);
    choice.applyTo(tracks.video);
    if (hasDeviceAudio_) tracks.source = liveSoundSettings(kDeviceChannels);
    if (options_.microphone) tracks.microphone = liveSoundSettings(kMicrophoneChannels);
    movie_.open(tracks);
}

bool DeviceRecorder::isMovieOpen() const {
    const std::lock_guard hold(lock_);
    return isMovieOpen_;
}

bool DeviceRecorder::beginSessionIfNeeded(const MediaTime& time) {
    const double t0Host = files_.pauses()->hostTime(time.seconds());
    const auto session = movie_.beginSessionIfNeeded(time, t0Host);
    if (session != RecordingProgress::Session::begun) return session == RecordingProgress::Session::running;
    files_.note(journalLine::session(t0Host, t0Host));
    Log::write("Device", formatted("Zeitbasis: Host-Uhr %.3f s", t0Host));
    return true;
}

void DeviceRecorder::handlePicture(const platform::DeviceSample& sample) {
    if (!sample.image || !std::isfinite(sample.hostSeconds)) return;
    const auto pauses = files_.pauses();
    const MediaTime time = hostTime(pauses->nearestMovieTime(sample.hostSeconds));
    if (!pauses->movieTime(sample.hostSeconds)) {
        unseen_ = {sample.image, time};
        // It arrived late: a device that shows nothing new sends no other.
        if (!pauses->isPaused()) takeUnseen();
        return;
    }
    takeUnseen();
    take(sample.image, time);
}

void DeviceRecorder::take(const UnseenPicture::Image& image, MediaTime taken) {
    if (!openMovieIfNeeded(*image) || !beginSessionIfNeeded(taken)) return;
    const RecordingProgress progress = movie_.progress();
    const MediaTime time = std::max(lastPictureTime_, progress.pictureTime(taken));
    if (progress.isBeforeSession(time)) return;
    if (!movie_.video().isReadyForMoreMediaData()) {
        movie_.picturesDropped(1);
        return;
    }
    if (!movie_.video().append(fitter_->fit(image), time)) return;
    lastPictureTime_ = time;
    movie_.pictureWritten(time);
}

// After a pause; see `Recorder`.
void DeviceRecorder::takeUnseen() {
    if (const auto unseen = std::exchange(unseen_, std::nullopt)) take(unseen->image, unseen->time);
}

void DeviceRecorder::pause(PauseCause cause) {
    if (running_ && !run_.isStopped()) files_.pause(cause == PauseCause::pointer);
}

void DeviceRecorder::resume() {
    files_.resume();
    queue_.async([this] {
        notifier_.guard([this] {
            if (!isPaused()) takeUnseen();
        });
    });
}

// On the device's or the microphone's queue.
void DeviceRecorder::handleSound(SourceMovie::SoundTrack track, const platform::SoundBuffer& sound) {
    if (!std::isfinite(sound.hostSeconds) || !isMovieOpen()) return;
    for (const SoundPiece& piece : cutters_[static_cast<std::size_t>(track)].pieces(*files_.pauses(), sound)) {
        const MediaTime time = hostTime(piece.hostSeconds);
        if (beginSessionIfNeeded(time)) movie_.append(track, piece, time);
    }
}

void DeviceRecorder::check() {
    if (isMovieOpen()) files_.watch(movie_, spaceNeed());
}

// Once the movie is open.
SpaceNeed DeviceRecorder::spaceNeed() const {
    const Stats now = snapshot();
    const int soundTracks = movie_.soundTracks();
    double bits = static_cast<double>(deviceBitRate(size_.width, size_.height)) + soundTracks * 192000.0;
    if (options_.webcam) bits += static_cast<double>(kWebcamBitRate);
    return {bits / 8, finishingBytes(now.framesWritten, now.duration * soundTracks, 0)};
}

RecordingJob::Stats DeviceRecorder::snapshot() const {
    const RecordingProgress progress = movie_.progress();
    return {progress.elapsed(files_.pauses()->nearestMovieTime(services_.hostClock())), progress.framesWritten};
}

RecordingHealth DeviceRecorder::health() const {
    if (!isMovieOpen()) return {};
    RecordingHealth health = files_.health(spaceNeed());
    health.seconds = snapshot().duration;
    health.screen = movie_.health();
    return health;
}

// Stopping

void DeviceRecorder::stop(StopCompletion completion) {
    if (!run_.beginStop()) return;
    if (!running_) {
        run_.finishNothing(std::move(completion));
        return;
    }
    run_.finish([this] { return finish(); },
                [this](const RecorderError& reason) { return files_.unfinished(reason, spaceNeed()); },
                std::move(completion));
}

void DeviceRecorder::stopSessions() {
    if (!std::exchange(running_, false)) return;
    session_->stopRunning();
    if (micSession_) micSession_->stopRunning();
    queue_.drain();
    micQueue_.drain();
}

RecordingJob::Stats DeviceRecorder::finish() {
    stopSessions();
    const RecordingProgress progress = movie_.progress();
    if (progress.framesWritten == 0) {
        // In this order: pictures that could not be written are a different error than none.
        if (!noMovie_) noMovie_ = movie_.error();
        discard();
        if (noMovie_) throw RecorderError(noMovie_->message());
        throw RecorderError("Vom Gerät kam kein einziges Bild. Ist es entsperrt und hat es diesem Mac vertraut?");
    }
    const std::shared_ptr<const Pauses> pauses = files_.pauses();
    const MediaTime now = hostTime(pauses->nearestMovieTime(services_.hostClock()));
    const MediaTime end = deviceEndTime(now, progress.lastPTS);
    RecordingOutcome outcome;
    outcome.pauses = *pauses;
    outcome.webcamFirstPicture = files_.stopWebcam();
    SourceMovie::Content content;
    try {
        content = movie_.finish(end);
    } catch (...) {
        discardUnlessRecoverable();
        throw;
    }
    saveEmptyPointerTrack(files_.folder());
    outcome.t0Host = outcome.t0Media = pauses->hostTime(progress.t0Host);
    outcome.duration = content.duration;
    outcome.framesWritten = content.pictures;
    files_.complete(info(), outcome);
    Log::write("Device",
               formatted("fertig: %.1f s, %lld Bilder", content.duration, static_cast<long long>(content.pictures)));
    return {content.duration, content.pictures};
}

// If a later attempt could not succeed either, nothing of the recording stays.
void DeviceRecorder::discardUnlessRecoverable() {
    const std::filesystem::path movie = files_.folder() / "source.mov";
    if (mayStillBeRecovered(movie)) return;
    std::error_code ignored;
    std::filesystem::remove(movie, ignored);
    std::filesystem::remove(files_.folder() / "webcam.mov", ignored);
    files_.discard();
}

model::CaptureInfo DeviceRecorder::info() const {
    return plannedDeviceInfo(device_.name, size_, hasDeviceAudio_, options_.microphone);
}

}  // namespace lumivastor::capture
