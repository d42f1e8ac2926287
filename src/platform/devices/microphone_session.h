// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/pictures/device_outputs.h"
#include "platform/sound_system.h"

namespace lumivastor::devices {

/// A capture session of a microphone: sound without pictures.
class MicrophoneSession final : public platform::CaptureSession {
  public:
    /// `name`: the microphone's, for the log.
    MicrophoneSession(std::string name, std::unique_ptr<platform::SoundSource> source);
    ~MicrophoneSession() override;
    MicrophoneSession(const MicrophoneSession&) = delete;
    MicrophoneSession& operator=(const MicrophoneSession&) = delete;

    bool canSetPreset(PixelSize) const override { return false; }
    void setPreset(PixelSize size) override;
    PixelSize activeFormat() const override { return {}; }
    bool addVideoOutput(SerialQueue&, bool, std::function<void(const platform::DeviceSample&)>) override {
        return false;
    }
    bool addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override;
    void onInterruption(std::function<void(const std::string&)> handler) override;
    void onReturn(std::function<void()> handler) override;
    void startRunning() override;
    void stopRunning() override;

  private:
    platform::DeviceOutputs outputs_;
    std::function<void(const std::string&)> interrupted_;
    std::unique_ptr<platform::SoundSource> source_;
    bool isRunning_ = false;
};

}  // namespace lumivastor::devices
