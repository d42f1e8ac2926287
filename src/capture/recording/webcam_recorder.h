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
#include "capture/recording/fitted_picture.h"
#include "capture/recording/webcam_preview.h"
#include "media/writing/asset_writer.h"

namespace lumivastor::capture {

/// The size at which a camera is recorded: 1920 × 1080 where it can, else 1280 × 720, else what it delivers anyway.
/// Sets the session's preset.
PixelSize chooseCaptureSize(platform::CaptureSession& session);

/// Records the default camera into "webcam.mov" beside another recording, and tells in the end where on the host clock
/// that movie's time zero lies. One thread at a time, unless a function says otherwise; start and stop once. Opening
/// and stopping a camera may take seconds, so that thread is not the main one.
class WebcamRecorder {
  public:
    /// No camera is touched.
    explicit WebcamRecorder(const RecordingServices& services);
    /// Ends the camera if `stop` did not; the file then stays as it is.
    ~WebcamRecorder();
    WebcamRecorder(const WebcamRecorder&) = delete;
    WebcamRecorder& operator=(const WebcamRecorder&) = delete;

    /// Told the host clock's seconds of the first picture, once, and a German sentence when the camera goes away while
    /// it is recorded. On threads of the recorder's and the camera's. Before `start`.
    std::function<void(double)> onFirstPicture;
    std::function<void(const std::string&)> onNotice;

    /// The camera begins to run in the background. Throws `RecorderError`; the recorder is then of no further use.
    void start(const std::filesystem::path& folder);

    /// Finishes the file. Host clock seconds of the first picture; nothing when there was none or the file is no movie.
    std::optional<double> stop();

    /// The pictures that the writer took so far; after `stop` those that the movie holds. Any thread.
    std::int64_t framesWritten() const;

    /// Null before `start`.
    std::shared_ptr<WebcamPreview> previewLayer() const { return previewLayer_; }

  private:
    void captureOutput(const platform::DeviceSample& sample);
    /// Runs a step of a queue's work; what it throws ends the camera, and is told.
    void guarded(const std::function<void()>& step);
    void stopSession();
    std::int64_t finish(std::int64_t frames);

    const RecordingServices services_;
    SerialQueue queue_{"lumivastor.webcam"};
    /// Starting a camera takes a moment, which nobody waits for.
    SerialQueue sessionQueue_{"webcam.session"};
    PixelSize size_;
    std::optional<PictureFitter> fitter_;       // set before the session runs; then the queue's
    media::VideoWriterInput* input_ = nullptr;  // set before the session runs
    std::atomic<bool> hasFailed_ = false;

    mutable std::mutex lock_;
    std::optional<MediaTime> firstPTS_;  // guarded by lock_
    std::int64_t frames_ = 0;            // guarded by lock_

    std::shared_ptr<WebcamPreview> previewLayer_;
    std::unique_ptr<media::AssetWriter> writer_;
    std::unique_ptr<platform::CaptureSession> session_;  // before everything its handlers use
    bool running_ = false;
};

}  // namespace lumivastor::capture
