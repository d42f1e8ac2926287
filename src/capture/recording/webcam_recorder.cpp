// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/webcam_recorder.h"

#include <cmath>
#include <system_error>
#include <utility>

#include "base/formatted.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "capture/live_video.h"
#include "capture/recording/recovered_movie.h"
#include "capture/recording_progress.h"

namespace lumivastor::capture {

namespace {

constexpr int kFrameRate = 30;

media::VideoSettings webcamSettings(PixelSize size) {
    media::VideoSettings settings = liveVideoSettings(size.width, size.height, kFrameRate, kWebcamBitRate);
    settings.codec = media::VideoCodec::h264;
    // Runs beside the encoder of the screen. At this bit rate a face is sharp at any preset.
    settings.preset = "ultrafast";
    return settings;
}

}  // namespace

PixelSize chooseCaptureSize(platform::CaptureSession& session) {
    for (const PixelSize size : {PixelSize{1920, 1080}, PixelSize{1280, 720}}) {
        if (!session.canSetPreset(size)) continue;
        session.setPreset(size);
        return size;
    }
    return session.activeFormat();
}

WebcamRecorder::WebcamRecorder(const RecordingServices& services, const PauseClock& pauses)
    : services_(services), pauses_(pauses) {}

WebcamRecorder::~WebcamRecorder() {
    stopSession();
}

void WebcamRecorder::start(const std::filesystem::path& folder) {
    const auto camera = services_.devices.defaultCamera();
    if (!camera) throw RecorderError("Es wurde keine Kamera gefunden.");
    auto session = services_.devices.open(*camera);
    if (!session) throw RecorderError("Die Kamera kann nicht verwendet werden.");
    size_ = chooseCaptureSize(*session);
    if (!session->addVideoOutput(
            queue_, true, [this](const platform::DeviceSample& sample) { guarded([&] { captureOutput(sample); }); })) {
        throw RecorderError("Das Kamerabild kann nicht abgegriffen werden.");
    }
    session->onInterruption([this](const std::string& reason) {
        Log::write("Webcam", "unterbrochen: " + reason);
        if (onNotice) onNotice("Die Kamera liefert kein Bild mehr: " + reason);
    });

    const std::filesystem::path file = folder / "webcam.mov";
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    if (size_.width < 2 || size_.height < 2) throw RecorderError("Die Kameradatei konnte nicht angelegt werden.");
    auto writer = std::make_unique<media::AssetWriter>(file, media::MovieContainer::quickTime);
    writer->setMovieFragmentInterval(kFragmentInterval);
    media::VideoWriterInput& input = writer->addVideoInput(webcamSettings(size_));
    input.setExpectsMediaDataInRealTime(true);
    if (!writer->startWriting()) {
        throw writer->error().value_or(RecorderError("Die Kameradatei konnte nicht geöffnet werden."));
    }
    writer_ = std::move(writer);
    input_ = &input;
    fitter_.emplace(size_.width, size_.height);
    previewLayer_ = std::make_shared<WebcamPreview>();
    session_ = std::move(session);
    running_ = true;
    sessionQueue_.async([this] { guarded([this] { session_->startRunning(); }); });
    Log::write("Webcam", formatted("gestartet: %d×%d", size_.width, size_.height));
}

void WebcamRecorder::guarded(const std::function<void()>& step) {
    if (hasFailed_) return;
    try {
        step();
    } catch (...) {
        const std::string reason = handledError("Unerwarteter Fehler").message();
        hasFailed_ = true;
        Log::write("Webcam", "gestört: " + reason);
        if (onNotice) onNotice("Die Kamera wird nicht mehr aufgenommen: " + reason);
    }
}

void WebcamRecorder::captureOutput(const platform::DeviceSample& sample) {
    if (input_ == nullptr || !sample.image || !std::isfinite(sample.hostSeconds)) return;
    const auto picture = fitter_->fit(sample.image);
    const auto movieSeconds = pauses_.pauses()->movieTime(sample.hostSeconds);
    if (!movieSeconds) {
        previewLayer_->show(picture);
        return;
    }
    const MediaTime time = hostTime(*movieSeconds);
    const bool isNew = change_.isNew(*picture, sample.hostSeconds);
    bool isFirst = false;
    {
        const std::lock_guard hold(lock_);
        ++delivered_;
        if (isNew) ++changed_;
        if (!firstPTS_) {
            firstPTS_ = time;
            firstHost_ = hostTime(sample.hostSeconds).seconds();
            writer_->startSession(time);
            isFirst = true;
        }
        // The movie has no place for it, so it is not counted.
        if (time < *firstPTS_) return;
    }
    if (isFirst) {
        Log::write("Webcam", formatted("erstes Bild bei Host-Uhr %.3f s", firstHost_));
        if (onFirstPicture) onFirstPicture(firstHost_);
    }
    previewLayer_->show(picture);
    const bool isTaken = input_->isReadyForMoreMediaData() && input_->append(picture, time);
    const std::lock_guard hold(lock_);
    ++(isTaken ? frames_ : lost_);
}

void WebcamRecorder::stopSession() {
    if (!std::exchange(running_, false)) return;
    sessionQueue_.async([this] {
        try {
            session_->stopRunning();
        } catch (...) {
            Log::write("Webcam", "Anhalten meldete: " + handledError("Unerwarteter Fehler").message());
        }
    });
    sessionQueue_.drain();
    queue_.drain();
}

std::optional<double> WebcamRecorder::stop() {
    stopSession();
    bool hasPicture = false;
    std::int64_t frames = 0;
    {
        const std::lock_guard hold(lock_);
        hasPicture = firstPTS_.has_value();
        frames = frames_;
    }
    if (!writer_ || !hasPicture) {
        if (writer_) writer_->cancelWriting();
        Log::write("Webcam", "beendet ohne ein einziges Bild");
        return std::nullopt;
    }
    frames = finish(frames);
    {
        const std::lock_guard hold(lock_);
        frames_ = frames;
    }
    Log::write("Webcam", formatted("fertig: %lld Bilder, Status %d", static_cast<long long>(frames),
                                   static_cast<int>(writer_->status())));
    return frames > 0 ? std::optional(firstHost_) : std::nullopt;
}

std::int64_t WebcamRecorder::framesWritten() const {
    const std::lock_guard hold(lock_);
    return frames_;
}

RecordingHealth::Webcam WebcamRecorder::health() const {
    const std::lock_guard hold(lock_);
    return {{frames_, lost_, writer_ ? writer_->diskWaits() : 0}, delivered_, changed_};
}

// The pictures of the movie, 0 without a movie. What a failed writer has written is kept.
std::int64_t WebcamRecorder::finish(std::int64_t frames) {
    if (frames == 0) {
        writer_->cancelWriting();
        return 0;
    }
    const bool isWhole = writer_->finishWriting();
    try {
        const RecoveredMovie movie = recoverMovie(writer_->path());
        if (isWhole && movie.pictures != frames) {
            Log::write("Webcam", formatted("gezählt waren %lld Bilder, im Film sind %lld",
                                           static_cast<long long>(frames), static_cast<long long>(movie.pictures)));
        }
        return movie.pictures;
    } catch (const RecorderError& error) {
        Log::write("Webcam", "nicht zu retten: " + error.message());
        return 0;
    }
}

}  // namespace lumivastor::capture
