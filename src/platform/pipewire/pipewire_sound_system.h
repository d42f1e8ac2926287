// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/sound_system.h"

namespace lumivastor::pipewire {

/// Sound over PipeWire's own interface. The session manager connects a source to the user's default device, and
/// reconnects it when that changes; the sound continues after a moment. Microphones with more than two channels are
/// mixed to two.
class PipeWireSoundSystem final : public platform::SoundSystem {
  public:
    /// `remote` as in PIPEWIRE_REMOTE, or a socket's full path; empty means the environment's. Does not connect yet.
    explicit PipeWireSoundSystem(std::string remote = {});

    std::unique_ptr<platform::SoundSource> systemAudio(int sampleRate, int channels) override;
    std::unique_ptr<platform::SoundSource> microphone(int sampleRate) override;
    std::optional<platform::CaptureDevice> defaultMicrophone() override;
    std::vector<platform::CaptureDevice> microphones() override;
    std::unique_ptr<platform::SoundSource> input(int sampleRate, const platform::InputChoice& choice) override;

    /// Whether a server answers that handles sound. PipeWire may run for cameras and screens alone, beside another
    /// sound server.
    bool hasSound() const;

  private:
    std::string remote_;
};

}  // namespace lumivastor::pipewire
