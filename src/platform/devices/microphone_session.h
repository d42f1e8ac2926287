#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/capture_device.h"
#include "platform/pictures/device_outputs.h"
#include "platform/sound_system.h"

namespace lumivastor {

/// A capture session of a microphone: sound without pictures.
class MicrophoneSession final : public CaptureSession {
  public:
    /// `name`: the microphone's, for the log.
    MicrophoneSession(std::string name, std::unique_ptr<SoundSource> source);
    ~MicrophoneSession() override;
    MicrophoneSession(const MicrophoneSession&) = delete;
    MicrophoneSession& operator=(const MicrophoneSession&) = delete;

    bool canSetPreset(PictureSize) const override { return false; }
    void setPreset(PictureSize size) override;
    PictureSize activeFormat() const override { return {}; }
    bool addVideoOutput(SerialQueue&, bool, std::function<void(const DeviceSample&)>) override { return false; }
    bool addAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) override;
    void onInterruption(std::function<void(const std::string&)> handler) override;
    void onReturn(std::function<void()> handler) override;
    void startRunning() override;
    void stopRunning() override;

  private:
    DeviceOutputs outputs_;
    std::function<void(const std::string&)> interrupted_;
    std::unique_ptr<SoundSource> source_;
    bool isRunning_ = false;
};

}  // namespace lumivastor
