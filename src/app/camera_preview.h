// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.h"
#include "base/serial_queue.h"
#include "capture/capture_services.h"
#include "capture/recording/webcam_preview.h"

namespace lumivastor::app {

/// The default camera's live picture outside of recordings. The camera is opened and closed in the background. Main
/// thread; completions run on the main thread, never before the call returns.
class CameraPreview {
  public:
    explicit CameraPreview(const capture::RecordingServices& services);
    ~CameraPreview();
    CameraPreview(const CameraPreview&) = delete;
    CameraPreview& operator=(const CameraPreview&) = delete;

    /// The preview to show, or the reason why there is none.
    struct Outcome {
        std::shared_ptr<capture::WebcamPreview> preview;
        std::string error;
    };
    /// No effect while the preview is on. `completion` is not called if the preview is stopped before.
    void start(std::function<void(const Outcome&)> completion);

    /// `completion` is called when the camera is free for other programs, also if the preview was off already.
    void stop(std::function<void()> completion = {});

    bool isOn() const { return generation_ != nullptr; }

  private:
    enum class Generation {};
    std::shared_ptr<capture::WebcamPreview> open();

    const capture::RecordingServices services_;
    std::shared_ptr<Generation> generation_;  // one for each start; null while off
    Lifetime lifetime_;
    std::unique_ptr<platform::CaptureSession> session_;  // the session queue's
    SerialQueue pictureQueue_{"app.preview"};
    SerialQueue sessionQueue_{"preview.session"};
};

}  // namespace lumivastor::app
