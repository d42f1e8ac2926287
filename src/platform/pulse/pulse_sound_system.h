// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/sound_system.h"

namespace lumivastor::pulse {

/// Sound over PulseAudio's protocol, from PulseAudio itself or from PipeWire. A source follows the user's default
/// device: after a change its sound continues from the new one after a moment. The server mixes microphones with more
/// than two channels to two.
class PulseSoundSystem final : public platform::SoundSystem {
  public:
    /// `server` as in PULSE_SERVER; empty means the environment's or PulseAudio's configuration. Does not connect yet.
    explicit PulseSoundSystem(std::string server = {});

    std::unique_ptr<platform::SoundSource> systemAudio(int sampleRate, int channels) override;
    std::unique_ptr<platform::SoundSource> microphone(int sampleRate) override;
    std::optional<platform::CaptureDevice> defaultMicrophone() override;
    std::vector<platform::CaptureDevice> microphones() override;
    std::unique_ptr<platform::SoundSource> input(int sampleRate, const platform::InputChoice& choice) override;

    /// The server that answers; nullopt when none answers within a second.
    struct Server {
        std::string name;  // as the server reports it, with the version
        bool isPipeWire = false;
    };
    std::optional<Server> probe() const;

  private:
    std::string server_;
};

}  // namespace lumivastor::pulse
