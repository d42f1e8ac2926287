// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/sound_system.h"

namespace lumivastor::pipewire {

/// Sound over PipeWire's own interface. The session manager connects a source to the user's default device, and to
/// another when that changes; its sound goes on from there after a moment. Microphones with more than two channels are
/// mixed to two.
class PipeWireSoundSystem final : public platform::SoundSystem {
  public:
    /// `remote` as in PIPEWIRE_REMOTE, or a socket's full path; empty: what the environment says. Connects to nothing
    /// yet.
    explicit PipeWireSoundSystem(std::string remote = {});

    std::unique_ptr<platform::SoundSource> systemAudio(int sampleRate, int channels) override;
    std::unique_ptr<platform::SoundSource> microphone(int sampleRate) override;
    std::optional<platform::CaptureDevice> defaultMicrophone() override;

    /// Whether somebody answers there who has sound: PipeWire may run for cameras and screens alone, beside another
    /// sound server.
    bool hasSound() const;

  private:
    std::string remote_;
};

}  // namespace lumivastor::pipewire
