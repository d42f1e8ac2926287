// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/pixel_size.h"
#include "base/serial_queue.h"
#include "capture/capture_services.h"
#include "capture/pauses/pause_clock.h"
#include "capture/recording/fitted_picture.h"
#include "capture/recording/picture_change.h"
#include "capture/recording/webcam_preview.h"
#include "capture/recording_health.h"
#include "media/writing/asset_writer.h"

namespace lumivastor::capture {

/// The size at which a camera is recorded: 1920 × 1080 if it can, else 1280 × 720, else its default. Sets the session's
/// preset.
PixelSize chooseCaptureSize(platform::CaptureSession& session);

/// Records the default camera into "webcam.mov" beside another recording, and finally returns the host clock at that
/// movie's time zero. One thread at a time, unless a function says otherwise; start and stop once. Opening and stopping
/// a camera may take seconds, so do not use the main thread.
class WebcamRecorder {
  public:
    /// Does not open a camera. What `pauses` leaves out is not recorded; it outlives this.
    WebcamRecorder(const RecordingServices& services, const PauseClock& pauses);
    /// Stops the camera if `stop` did not; the file then stays as it is.
    ~WebcamRecorder();
    WebcamRecorder(const WebcamRecorder&) = delete;
    WebcamRecorder& operator=(const WebcamRecorder&) = delete;

    /// Handlers for the host time in seconds of the first picture, once, and for a German sentence when the camera is
    /// lost during the recording. They run on the recorder's and the camera's threads. Set them before `start`.
    std::function<void(double)> onFirstPicture;
    std::function<void(const std::string&)> onNotice;

    /// The camera starts in the background. Throws `RecorderError`; the recorder cannot be used after that.
    void start(const std::filesystem::path& folder);

    /// Finishes the file. Returns the host time in seconds of the first picture; nullopt when there was none or the
    /// file is not a movie.
    std::optional<double> stop();

    /// The number of pictures that the writer has accepted; after `stop` those in the movie. Any thread.
    std::int64_t framesWritten() const;

    /// What was counted so far. Any thread.
    RecordingHealth::Webcam health() const;

    /// Null before `start`.
    std::shared_ptr<WebcamPreview> previewLayer() const { return previewLayer_; }

  private:
    void captureOutput(const platform::DeviceSample& sample);
    /// Runs a step of a queue's work; an exception stops the camera and is reported.
    void guarded(const std::function<void()>& step);
    void stopSession();
    std::int64_t finish(std::int64_t frames);

    const RecordingServices services_;
    const PauseClock& pauses_;
    SerialQueue queue_{"lumivastor.webcam"};
    /// Starting a camera takes a moment, so it runs in the background.
    SerialQueue sessionQueue_{"webcam.session"};
    PixelSize size_;
    std::optional<PictureFitter> fitter_;       // set before the session runs; then the queue's
    media::VideoWriterInput* input_ = nullptr;  // set before the session runs
    std::atomic<bool> hasFailed_ = false;

    mutable std::mutex lock_;
    std::optional<MediaTime> firstPTS_;  // guarded by lock_; movie time
    std::int64_t frames_ = 0;            // guarded by lock_
    double firstHost_ = 0;               // the queue's, then `stop`'s; the host time of that first picture
    std::int64_t delivered_ = 0;         // guarded by lock_
    std::int64_t lost_ = 0;              // guarded by lock_
    std::int64_t changed_ = 0;           // guarded by lock_
    PictureChange change_;               // the queue's

    std::shared_ptr<WebcamPreview> previewLayer_;
    std::unique_ptr<media::AssetWriter> writer_;
    std::unique_ptr<platform::CaptureSession> session_;  // before everything its handlers use
    bool running_ = false;
};

}  // namespace lumivastor::capture
