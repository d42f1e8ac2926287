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
#include "capture/journal/recording_documents.h"
#include "capture/live_video.h"
#include "capture/planned_info.h"
#include "capture/recording/recovered_movie.h"
#include "capture/recording/sound_samples.h"
#include "capture/recordings_root.h"

namespace lumivastor::capture {

namespace {

constexpr int kFrameRate = 60;
constexpr int kDeviceChannels = 2;
constexpr int kMicrophoneChannels = 1;
constexpr double kWatchSeconds = 1.0;

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
    : services_(services), device_(std::move(device)), options_(options), folder_(std::move(folder)) {}

DeviceRecorder::~DeviceRecorder() {
    notifier_.silence();
    watchTimer_.reset();
    workQueue_.drain();
    stopSessions();
}

std::shared_ptr<WebcamPreview> DeviceRecorder::webcamPreviewLayer() const {
    return webcamRecorder_ ? webcamRecorder_->previewLayer() : nullptr;
}

// Starting

void DeviceRecorder::start() {
    try {
        prepare();
    } catch (...) {
        throw handledError("Unerwarteter Fehler");
    }
    begin();
}

void DeviceRecorder::start(StartCompletion completion) {
    startWatch_.begin();
    workQueue_.async([this, completion = std::move(completion)]() mutable {
        std::optional<RecorderError> error;
        try {
            prepare();
        } catch (...) {
            error = handledError("Unerwarteter Fehler");
        }
        notifier_.postToMain([this, error = std::move(error), completion = std::move(completion)] {
            startWatch_.end();
            if (!error) begin();
            completion(error);
        });
    });
}

void DeviceRecorder::prepare() {
    createRecordingFolder(folder_);
    try {
        startWatch_.step("Öffne „" + device_.name + "“ …");
        openDevice();
        startWatch_.step("Öffne das Mikrofon …");
        if (options_.microphone) openMicrophone();
        startWatch_.step("Öffne die Kamera …");
        if (options_.webcam) startWebcam();
        startWatch_.step("Suche einen passenden Encoder …");
        chooseExpectedEncoder();
    } catch (...) {
        discard();
        throw;
    }
}

// The devices run from here on, and what they need is there.
void DeviceRecorder::begin() {
    running_ = true;
    workQueue_.async([this] {
        guarded([this] {
            session_->startRunning();
            if (micSession_) micSession_->startRunning();
        });
    });
    watchTimer_ = services_.mainLoop.every(kWatchSeconds, [this] { watch(); });
    Log::write("Device", "gestartet: " + device_.name + ", warte auf erstes Bild, Geräteton=" +
                             trueOrFalse(hasDeviceAudio_) + " Mikro=" + trueOrFalse(options_.microphone));
    if (hasDeviceAudio_) return;
    notifier_.notice("„" + device_.name + "“ liefert keinen eigenen Ton. Aufgenommen " +
                     (micSession_ ? "werden das Bild und das Mikrofon." : "wird nur das Bild."));
}

// Nothing was recorded: what was begun goes, and the folder with it unless somebody else put things there. Not on the
// main thread, unless that started in the foreground.
void DeviceRecorder::discard() {
    if (writer_) writer_->cancelWriting();
    if (journal_) journal_->remove();
    std::error_code ignored;
    if (webcamRecorder_) {
        webcamRecorder_->stop();
        std::filesystem::remove(folder_ / "webcam.mov", ignored);
    }
    std::filesystem::remove(folder_, ignored);
}

void DeviceRecorder::openDevice() {
    auto session = services_.devices.open(device_);
    if (!session) throw RecorderError("Das Gerät kann nicht aufgenommen werden.");
    if (!session->addVideoOutput(
            queue_, false, [this](const platform::DeviceSample& sample) { guarded([&] { handlePicture(sample); }); })) {
        throw RecorderError("Das Gerätebild kann nicht abgegriffen werden.");
    }
    hasDeviceAudio_ = session->addAudioOutput(queue_, [this](const platform::SoundBuffer& sound) {
        guarded([&] { handleSound(&DeviceRecorder::deviceAudioInput_, kDeviceChannels, sound); });
    });
    session->onInterruption([this](const std::string& reason) {
        Log::write("Device", "unterbrochen: " + reason);
        notifier_.giveUp(RecorderError("Das Gerät liefert kein Bild mehr: " + reason));
    });
    session_ = std::move(session);
}

// Without a microphone the recording goes on.
void DeviceRecorder::openMicrophone() {
    try {
        const auto microphone = services_.devices.defaultMicrophone();
        if (!microphone) return;
        auto session = services_.devices.open(*microphone);
        if (!session || !session->addAudioOutput(micQueue_, [this](const platform::SoundBuffer& sound) {
                guarded([&] { handleSound(&DeviceRecorder::micInput_, kMicrophoneChannels, sound); });
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
    auto webcam = std::make_unique<WebcamRecorder>(services_);
    webcam->onFirstPicture = [this](double seconds) {
        const std::lock_guard hold(lock_);
        webcamFirstPicture_ = seconds;
        // Before the writer there is no journal; it then begins with this.
        if (writerReady_) journal_->append(journalLine::webcam(seconds));
    };
    webcam->onNotice = [this](const std::string& sentence) { notifier_.notice(sentence); };
    try {
        webcam->start(folder_);
        webcamRecorder_ = std::move(webcam);
    } catch (const RecorderError& error) {
        Log::write("Webcam", "Start fehlgeschlagen: " + error.message());
        notifier_.notice("Die Kamera wird nicht aufgenommen: " + error.message());
    }
}

// What the first picture would otherwise wait for. Most devices announce the size that they deliver.
void DeviceRecorder::chooseExpectedEncoder() {
    const PixelSize announced = session_->activeFormat();
    expectedSize_ = deviceSize(announced.width, announced.height);
    if (expectedSize_.width > 0 && expectedSize_.height > 0) {
        expectedChoice_ = services_.chooseEncoder(jobFor(expectedSize_));
    }
}

void DeviceRecorder::guarded(const std::function<void()>& step) {
    try {
        step();
    } catch (...) {
        const RecorderError error = handledError("Unerwarteter Fehler");
        Log::write("Device", "Aufnahme gestört: " + error.message());
        notifier_.giveUp(error);
    }
}

void DeviceRecorder::stopSessions() {
    if (!std::exchange(running_, false)) return;
    session_->stopRunning();
    if (micSession_) micSession_->stopRunning();
    queue_.drain();
    micQueue_.drain();
}

// While it runs

bool DeviceRecorder::hasWriter() const {
    const std::lock_guard hold(lock_);
    return writerReady_;
}

// On the device's queue, which alone makes the writer.
bool DeviceRecorder::makeWriterIfNeeded(const imaging::BgraPremultipliedBuffer& firstPicture) {
    if (noWriter_) return false;
    if (hasWriter()) return true;
    size_ = deviceSize(firstPicture.width(), firstPicture.height());
    try {
        makeWriter(size_);
    } catch (...) {
        // The rest of the pictures could not be recorded either, so nobody has to wait for the stop to hear of it.
        noWriter_ = handledError("Unerwarteter Fehler");
        Log::write("Device", "Writer-Anlage fehlgeschlagen: " + noWriter_->message());
        notifier_.giveUp(*noWriter_);
        return false;
    }
    fitter_.emplace(size_.width, size_.height);
    Log::write("Device", formatted("Writer angelegt: %d×%d", size_.width, size_.height));
    auto journal = std::make_unique<Journal>(folder_);
    journal->append(journalLine::start(info(), deviceGeometry(size_)));
    const std::lock_guard hold(lock_);
    if (webcamFirstPicture_) journal->append(journalLine::webcam(*webcamFirstPicture_));
    journal_ = std::move(journal);
    writerReady_ = true;
    return true;
}

void DeviceRecorder::makeWriter(PixelSize size) {
    auto writer = std::make_unique<media::AssetWriter>(folder_ / "source.mov", media::MovieContainer::quickTime);
    writer->setMovieFragmentInterval(kFragmentInterval);
    const media::EncodingJob job = jobFor(size);
    media::VideoSettings settings = liveVideoSettings(size.width, size.height, kFrameRate, job.averageBitRate);
    if (!canAddVideo(settings)) throw RecorderError("Die Videospur konnte nicht angelegt werden.");
    const media::EncoderChoice choice =
        expectedChoice_ && expectedSize_ == size ? *expectedChoice_ : services_.chooseEncoder(job);
    choice.applyTo(settings);
    media::VideoWriterInput& video = writer->addVideoInput(settings);
    video.setExpectsMediaDataInRealTime(true);
    const auto addSound = [&writer](int channels) {
        media::AudioWriterInput& input = writer->addAudioInput(liveSoundSettings(channels));
        input.setExpectsMediaDataInRealTime(true);
        return &input;
    };
    media::AudioWriterInput* deviceAudio = hasDeviceAudio_ ? addSound(kDeviceChannels) : nullptr;
    media::AudioWriterInput* microphone = options_.microphone ? addSound(kMicrophoneChannels) : nullptr;
    if (!writer->startWriting()) {
        throw writer->error().value_or(RecorderError("Die Aufnahmedatei konnte nicht geöffnet werden."));
    }
    writer_ = std::move(writer);
    videoInput_ = &video;
    deviceAudioInput_ = deviceAudio;
    micInput_ = microphone;
}

bool DeviceRecorder::beginSessionIfNeeded(const MediaTime& time) {
    const std::lock_guard hold(lock_);
    const bool writing = writer_->status() == media::AssetWriter::Status::writing;
    const auto session = progress_.beginSessionIfNeeded(writing, time, time.seconds());
    if (session != RecordingProgress::Session::begun) return session == RecordingProgress::Session::running;
    writer_->startSession(time);
    journal_->append(journalLine::session(progress_.t0Host, progress_.t0Media));
    Log::write("Device", formatted("Zeitbasis: Host-Uhr %.3f s", progress_.t0Host));
    return true;
}

void DeviceRecorder::handlePicture(const platform::DeviceSample& sample) {
    if (!sample.image || !std::isfinite(sample.hostSeconds) || !makeWriterIfNeeded(*sample.image)) return;
    MediaTime time = hostTime(sample.hostSeconds);
    if (!beginSessionIfNeeded(time)) return;
    {
        const std::lock_guard hold(lock_);
        time = progress_.pictureTime(time);
        if (progress_.isBeforeSession(time)) return;
    }
    if (!videoInput_->isReadyForMoreMediaData()) return;
    if (!videoInput_->append(fitter_->fit(sample.image), time)) return;
    const std::lock_guard hold(lock_);
    progress_.pictureWritten(time);
}

// On the device's or the microphone's queue.
void DeviceRecorder::handleSound(media::AudioWriterInput* DeviceRecorder::*member, int channels,
                                 const platform::SoundBuffer& sound) {
    if (!std::isfinite(sound.hostSeconds) || !hasWriter()) return;
    const MediaTime time = hostTime(sound.hostSeconds);
    if (!beginSessionIfNeeded(time)) return;
    media::AudioWriterInput* const input = this->*member;
    if (input == nullptr || sound.sampleRate != liveSoundSettings(channels).sampleRate) return;
    if (!input->isReadyForMoreMediaData() || !input->append(pcmSample(sound, channels))) return;
    const std::lock_guard hold(lock_);
    progress_.sampleWritten(time);
}

void DeviceRecorder::watch() {
    if (!hasWriter()) return;
    if (writer_->status() == media::AssetWriter::Status::failed) {
        notifier_.giveUp(writer_->error().value_or(RecorderError("Der Film wird nicht mehr geschrieben.")));
        return;
    }
    const auto space = services_.freeSpace(folder_);
    if (space && mustStop(*space, spaceNeed())) notifier_.giveUp(diskNearlyFull());
}

// Once there is a writer.
SpaceNeed DeviceRecorder::spaceNeed() const {
    const Stats now = snapshot();
    const int soundTracks = (deviceAudioInput_ != nullptr ? 1 : 0) + (micInput_ != nullptr ? 1 : 0);
    double bits = static_cast<double>(deviceBitRate(size_.width, size_.height)) + soundTracks * 192000.0;
    if (options_.webcam) bits += static_cast<double>(kWebcamBitRate);
    return {bits / 8, finishingBytes(now.framesWritten, now.duration * soundTracks, 0)};
}

DeviceRecorder::Stats DeviceRecorder::snapshot() const {
    const std::lock_guard hold(lock_);
    return {progress_.elapsed(services_.hostClock()), progress_.framesWritten};
}

// Stopping

void DeviceRecorder::stop(StopCompletion completion) {
    if (std::exchange(stopped_, true)) return;
    notifier_.setStopped();
    watchTimer_.reset();
    workQueue_.async([this, completion = std::move(completion)] {
        Outcome outcome;
        try {
            stopSessions();
            outcome = finish();
        } catch (...) {
            outcome = unfinished(handledError("Unerwarteter Fehler"));
        }
        // Not `postToMain`: who stops a recording hears of it, also when the recorder has gone meanwhile.
        services_.mainLoop.async([completion, outcome = std::move(outcome)] { completion(outcome); });
    });
}

DeviceRecorder::Stats DeviceRecorder::finish() {
    RecordingProgress progress;
    {
        const std::lock_guard hold(lock_);
        progress = progress_;
    }
    if (progress.framesWritten == 0) {
        // In this order: pictures that came and could not be written are another thing than none.
        if (!noWriter_ && writer_) noWriter_ = writer_->error();
        discard();
        if (noWriter_) throw RecorderError(noWriter_->message());
        throw RecorderError("Vom Gerät kam kein einziges Bild. Ist es entsperrt und hat es diesem Mac vertraut?");
    }
    const MediaTime end = deviceEndTime(hostTime(services_.hostClock()), progress.lastPTS);
    videoInput_->markAsFinished();
    if (deviceAudioInput_ != nullptr) deviceAudioInput_->markAsFinished();
    if (micInput_ != nullptr) micInput_->markAsFinished();
    writer_->endSession(end);
    std::optional<double> webcamFirstPicture;
    if (webcamRecorder_) webcamFirstPicture = webcamRecorder_->stop();
    Stats stats{end.seconds() - progress.t0Host, progress.framesWritten};
    if (!writer_->finishWriting()) {
        stats = rescue(writer_->error().value_or(RecorderError("Die Aufnahme konnte nicht abgeschlossen werden.")));
    }
    writeMetadata(stats, progress.t0Host, webcamFirstPicture);
    Log::write("Device",
               formatted("fertig: %.1f s, %lld Bilder", stats.duration, static_cast<long long>(stats.framesWritten)));
    return stats;
}

// What the failed writer has left, as a movie. Throws `reason` when that is nothing.
DeviceRecorder::Stats DeviceRecorder::rescue(const RecorderError& reason) {
    Log::write("Device", "Writer fehlgeschlagen: " + reason.message());
    try {
        const RecoveredMovie movie = recoverMovie(writer_->path());
        notifier_.notice("Die Aufnahme endete vorzeitig: " + reason.message() +
                         " Was bis dahin aufgenommen wurde, ist gesichert.");
        return {movie.lastPicture, movie.pictures};
    } catch (const RecorderError& error) {
        Log::write("Device", "nicht zu retten: " + error.message());
        if (!mayStillBeRecovered(writer_->path())) {
            std::error_code ignored;
            std::filesystem::remove(writer_->path(), ignored);
            std::filesystem::remove(folder_ / "webcam.mov", ignored);
            journal_->remove();
            std::filesystem::remove(folder_, ignored);
        }
        throw RecorderError(reason);
    }
}

// Why the recording could not be finished, with what can be done about it where something can.
RecorderError DeviceRecorder::unfinished(const RecorderError& reason) const {
    if (!isUnfinishedRecording(folder_)) return RecorderError(reason.message());
    const auto space = services_.freeSpace(folder_);
    return notCompleted(reason, folder_, space && mustStop(*space, spaceNeed()));
}

model::CaptureInfo DeviceRecorder::info() const {
    return plannedDeviceInfo(device_.name, size_, deviceAudioInput_ != nullptr, micInput_ != nullptr);
}

void DeviceRecorder::writeMetadata(const Stats& stats, double t0Host, std::optional<double> webcamFirstPicture) {
    saveEmptyPointerTrack(folder_);
    RecordingOutcome outcome;
    outcome.t0Host = outcome.t0Media = t0Host;
    outcome.duration = stats.duration;
    outcome.framesWritten = stats.framesWritten;
    outcome.webcamFirstPicture = webcamFirstPicture;
    saveCaptureInfo(folder_, info(), outcome);
    journal_->remove();
}

}  // namespace lumivastor::capture
