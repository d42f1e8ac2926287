// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/pictures/device_outputs.h"
#include "platform/pipewire/camera_formats.h"

namespace lumivastor::pipewire {

/// The cameras of a PipeWire server, the session manager's default marked and first. Empty without a server or camera.
/// `isCamera` may reject nodes by their descriptions.
std::vector<platform::CaptureDevice> findPipeWireCameras(
    const std::string& remote, const std::function<bool(const std::string& description)>& isCamera);

/// A capture session of a PipeWire server's video source. While it runs it has its own thread ("pipewire.camera").
class PipeWireCameraSession final : public platform::CaptureSession {
  public:
    /// `node` is the node's name. Throws `RecorderError` when it is gone.
    PipeWireCameraSession(std::string remote, std::string node, std::string name);
    ~PipeWireCameraSession() override;
    PipeWireCameraSession(const PipeWireCameraSession&) = delete;
    PipeWireCameraSession& operator=(const PipeWireCameraSession&) = delete;

    bool canSetPreset(PixelSize size) const override;
    void setPreset(PixelSize size) override;
    PixelSize activeFormat() const override;
    bool addVideoOutput(SerialQueue& queue, bool discardsLate,
                        std::function<void(const platform::DeviceSample&)> handler) override;
    bool addAudioOutput(SerialQueue&, std::function<void(const platform::SoundBuffer&)>) override { return false; }
    void onInterruption(std::function<void(const std::string&)> handler) override;
    void startRunning() override;
    void stopRunning() override;

  private:
    /// Returns when stopped; throws `RecorderError` when the camera goes away.
    void run();

    std::string remote_;
    std::string node_;
    std::string name_;
    std::vector<CameraSizes> sizes_;
    std::optional<PixelSize> preset_;
    platform::DeviceOutputs outputs_{name_};
    std::function<void(const std::string&)> interrupted_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

}  // namespace lumivastor::pipewire
