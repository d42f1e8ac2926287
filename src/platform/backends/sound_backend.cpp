// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/sound_backend.h"

#include <utility>

#include "base/recorder_error.h"
#include "platform/pipewire/pipewire_sound_system.h"
#include "platform/pulse/pulse_output.h"
#include "platform/pulse/pulse_sound_system.h"

namespace lumivastor::platform {
namespace {

/// Where there is no server.
class NoSoundSource final : public SoundSource {
  public:
    void onReturn(ReturnHandler) override {}
    void start(Handler, EndHandler) override { throw RecorderError("Kein Tonserver gefunden."); }
    void stop() override {}
};

class ChosenSoundSystem final : public SoundSystem {
  public:
    explicit ChosenSoundSystem(SoundServerAddresses addresses)
        : pulse_(std::move(addresses.pulse)), pipeWire_(std::move(addresses.pipeWire)) {}

    std::unique_ptr<SoundSource> systemAudio(int sampleRate, int channels) override {
        SoundSystem* const system = choose();
        return system == nullptr ? std::make_unique<NoSoundSource>() : system->systemAudio(sampleRate, channels);
    }
    std::unique_ptr<SoundSource> microphone(int sampleRate) override {
        SoundSystem* const system = choose();
        return system == nullptr ? std::make_unique<NoSoundSource>() : system->microphone(sampleRate);
    }
    std::optional<CaptureDevice> defaultMicrophone() override {
        SoundSystem* const system = choose();
        return system == nullptr ? std::nullopt : system->defaultMicrophone();
    }
    std::vector<CaptureDevice> microphones() override {
        SoundSystem* const system = choose();
        return system == nullptr ? std::vector<CaptureDevice>{} : system->microphones();
    }
    std::unique_ptr<SoundSource> input(int sampleRate, const InputChoice& choice) override {
        SoundSystem* const system = choose();
        return system == nullptr ? std::make_unique<NoSoundSource>() : system->input(sampleRate, choice);
    }

  private:
    SoundSystem* choose() {
        const auto server = pulse_.probe();
        FoundSoundServers found;
        found.pulse = server.has_value();
        found.pulseIsPipeWire = server && server->isPipeWire;
        if (!found.pulse || found.pulseIsPipeWire) found.pipeWireHasSound = pipeWire_.hasSound();
        switch (chooseSoundServer(found)) {
            case SoundServerKind::pulse:
                return &pulse_;
            case SoundServerKind::pipeWire:
                return &pipeWire_;
            case SoundServerKind::none:
                break;
        }
        return nullptr;
    }

    pulse::PulseSoundSystem pulse_;
    pipewire::PipeWireSoundSystem pipeWire_;
};

}  // namespace

SoundServerKind chooseSoundServer(const FoundSoundServers& found) {
    if (found.pulse && !found.pulseIsPipeWire) return SoundServerKind::pulse;
    if (found.pipeWireHasSound) return SoundServerKind::pipeWire;
    return found.pulse ? SoundServerKind::pulse : SoundServerKind::none;
}

std::unique_ptr<SoundSystem> openSoundSystem(SoundServerAddresses addresses) {
    return std::make_unique<ChosenSoundSystem>(std::move(addresses));
}

std::unique_ptr<SoundOutput> openSoundOutput() {
    return pulse::makePulseOutput();
}

}  // namespace lumivastor::platform
