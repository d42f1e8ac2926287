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

/// The default camera's live picture while nothing is recorded. The camera is opened and closed in the background.
/// Main thread; completions run on the main thread, not within the call.
class CameraPreview {
  public:
    explicit CameraPreview(const capture::RecordingServices& services);
    ~CameraPreview();
    CameraPreview(const CameraPreview&) = delete;
    CameraPreview& operator=(const CameraPreview&) = delete;

    /// What is to be shown, or why there is nothing.
    struct Outcome {
        std::shared_ptr<capture::WebcamPreview> preview;
        std::string error;
    };
    /// Does nothing while it is on. The completion does not come when it is stopped before.
    void start(std::function<void(const Outcome&)> completion);

    /// The camera is free for others when the completion comes, also where the preview was off already.
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
