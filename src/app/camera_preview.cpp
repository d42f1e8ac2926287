// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/camera_preview.h"

#include <utility>

#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"

namespace lumivastor::app {

CameraPreview::CameraPreview(const capture::RecordingServices& services) : services_(services) {}

CameraPreview::~CameraPreview() {
    lifetime_.end();
    stop();
    sessionQueue_.drain();
}

void CameraPreview::start(std::function<void(const Outcome&)> completion) {
    if (isOn()) return;
    generation_ = std::make_shared<Generation>();
    sessionQueue_.async([this, completion = std::move(completion), generation = std::weak_ptr(generation_)]() mutable {
        if (generation.expired()) return;  // stopped before its turn came
        Outcome outcome;
        try {
            outcome.preview = open();
        } catch (...) {
            outcome.error = handledError("Unerwarteter Fehler").message();
            Log::write("Webcam", "Vorschau: " + outcome.error);
        }
        services_.mainLoop.async([this, completion = std::move(completion), generation, outcome] {
            // Expired when the preview was stopped or destroyed meanwhile.
            if (generation.expired()) return;
            if (!outcome.preview) generation_.reset();
            completion(outcome);
        });
    });
}

std::shared_ptr<capture::WebcamPreview> CameraPreview::open() {
    const auto camera = services_.devices.defaultCamera();
    if (!camera) throw RecorderError("Es wurde keine Kamera gefunden.");
    auto preview = std::make_shared<capture::WebcamPreview>();
    auto session = services_.devices.open(*camera);
    const auto show = [preview](const platform::DeviceSample& sample) { preview->show(sample.image); };
    if (!session->addVideoOutput(pictureQueue_, true, show)) {
        throw RecorderError("Das Kamerabild kann nicht abgegriffen werden.");
    }
    session->onInterruption([](const std::string& reason) { Log::write("Webcam", "Vorschau: " + reason); });
    session->startRunning();
    session_ = std::move(session);
    return preview;
}

// Opening and closing a camera may take seconds, for which the main thread does not wait.
void CameraPreview::stop(std::function<void()> completion) {
    generation_.reset();
    sessionQueue_.async([this, completion = std::move(completion), alive = lifetime_.watch()]() mutable {
        if (session_) session_->stopRunning();
        session_.reset();
        pictureQueue_.drain();
        if (!completion) return;
        services_.mainLoop.async([completion = std::move(completion), alive = std::move(alive)] {
            if (!alive.expired()) completion();
        });
    });
}

}  // namespace lumivastor::app
