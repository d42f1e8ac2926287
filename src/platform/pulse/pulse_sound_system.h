// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/sound_system.h"

namespace lumivastor::pulse {

/// Sound over PulseAudio's protocol, from PulseAudio itself or from PipeWire. A source follows the user's default
/// device: when that changes, its sound goes on from the new one after a moment. Microphones with more than two
/// channels are mixed to two by the server.
class PulseSoundSystem final : public platform::SoundSystem {
  public:
    /// `server` as in PULSE_SERVER; empty: what the environment and PulseAudio's configuration say. Connects to nothing
    /// yet.
    explicit PulseSoundSystem(std::string server = {});

    std::unique_ptr<platform::SoundSource> systemAudio(int sampleRate, int channels) override;
    std::unique_ptr<platform::SoundSource> microphone(int sampleRate) override;
    std::optional<platform::CaptureDevice> defaultMicrophone() override;

    /// What answers there; nothing when nobody does within a second.
    struct Server {
        std::string name;  // with the version, as the server says it
        bool isPipeWire = false;
    };
    std::optional<Server> probe() const;

  private:
    std::string server_;
};

}  // namespace lumivastor::pulse
