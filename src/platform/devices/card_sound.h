// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/capture_device.h"
#include "platform/pictures/device_outputs.h"
#include "platform/sound_system.h"

namespace lumivastor::devices {

/// A capture card with its sound, which is a device of its own for the sound server.
class CardSession final : public platform::CaptureSession {
  public:
    /// `name`: the card's. `remark` is a notice as soon as the sound runs; empty: none.
    CardSession(std::string name, std::unique_ptr<platform::CaptureSession> pictures,
                std::unique_ptr<platform::SoundSource> sound, std::string remark = {});
    ~CardSession() override;
    CardSession(const CardSession&) = delete;
    CardSession& operator=(const CardSession&) = delete;

    bool canSetPreset(PixelSize size) const override { return pictures_->canSetPreset(size); }
    void setPreset(PixelSize size) override { pictures_->setPreset(size); }
    PixelSize activeFormat() const override { return pictures_->activeFormat(); }
    bool addVideoOutput(SerialQueue& queue, bool discardsLate,
                        std::function<void(const platform::DeviceSample&)> handler) override;
    bool addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override;
    /// Only of the pictures: without sound the recording continues.
    void onInterruption(std::function<void(const std::string&)> handler) override;
    void onNotice(std::function<void(const std::string&)> handler) override { notice_ = std::move(handler); }
    void startRunning() override;
    void stopRunning() override;

  private:
    void say(const std::string& sentence) const;

    const std::string name_;
    const std::string remark_;
    platform::DeviceOutputs outputs_{name_};
    std::function<void(const std::string&)> notice_;
    bool hears_ = false;
    const std::unique_ptr<platform::CaptureSession> pictures_;
    const std::unique_ptr<platform::SoundSource> sound_;  // last: its thread uses the others
};

}  // namespace lumivastor::devices
