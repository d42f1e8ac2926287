// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse/pulse_sound_system.h"

#include <algorithm>
#include <utility>

#include "base/recorder_error.h"
#include "platform/pulse/pulse_audio_input_stream.h"
#include "platform/pulse/pulse_connection.h"
#include "platform/sound/live_sound_source.h"

namespace lumivastor::pulse {
namespace {

constexpr double kConnectSeconds = 3;
constexpr double kProbeSeconds = 1;

platform::CaptureDevice device(const PulseConnection::Source& source) {
    return {source.name, source.description, false, std::clamp(source.channels, 1, 2), source.place};
}

// The chosen source, or the default one, if it is a microphone.
std::optional<platform::CaptureDevice> findMicrophone(PulseConnection& connection,
                                                      const platform::InputChoice& choice) {
    if (!choice.id.empty()) {
        if (const auto chosen = connection.source(choice.id)) return device(*chosen);
        if (choice.only) return std::nullopt;
    }
    const PulseConnection::Server server = connection.server();
    if (server.defaultSource.empty()) return std::nullopt;
    const auto source = connection.source(server.defaultSource);
    if (!source || source->isMonitor) return std::nullopt;
    return device(*source);
}

std::unique_ptr<platform::SoundSource> makeSource(const std::string& server, PulseAudioInputStream::Kind kind,
                                                  const platform::InputChoice& choice, int sampleRate, int channels) {
    platform::ClockDriftCorrector::Options options;
    options.sampleRate = sampleRate;
    options.channels = channels;
    const auto microphoneChannels = [server, choice] {
        PulseConnection connection(server, kConnectSeconds);
        const auto found = findMicrophone(connection, choice);
        if (!found) throw RecorderError("Kein Mikrofon gefunden.");
        return found->channels;
    };
    const auto open = [server, kind, choice, sampleRate](platform::ClockDriftCorrector& corrector) {
        return std::make_unique<PulseAudioInputStream>(server, kind, choice, sampleRate, corrector.channels(),
                                                       corrector);
    };
    return std::make_unique<platform::LiveSoundSource>(options, open, microphoneChannels);
}

}  // namespace

PulseSoundSystem::PulseSoundSystem(std::string server) : server_(std::move(server)) {}

std::unique_ptr<platform::SoundSource> PulseSoundSystem::systemAudio(int sampleRate, int channels) {
    return makeSource(server_, PulseAudioInputStream::Kind::systemAudio, {}, sampleRate, channels);
}

std::unique_ptr<platform::SoundSource> PulseSoundSystem::microphone(int sampleRate) {
    return input(sampleRate, {});
}

std::unique_ptr<platform::SoundSource> PulseSoundSystem::input(int sampleRate, const platform::InputChoice& choice) {
    return makeSource(server_, PulseAudioInputStream::Kind::microphone, choice, sampleRate, 0);
}

std::optional<platform::CaptureDevice> PulseSoundSystem::defaultMicrophone() {
    try {
        PulseConnection connection(server_, kConnectSeconds);
        return findMicrophone(connection, {});
    } catch (const RecorderError&) {
        return std::nullopt;
    }
}

std::vector<platform::CaptureDevice> PulseSoundSystem::microphones() {
    std::vector<platform::CaptureDevice> found;
    try {
        PulseConnection connection(server_, kConnectSeconds);
        const std::string standard = connection.server().defaultSource;
        for (const PulseConnection::Source& source : connection.sources()) {
            if (source.isMonitor) continue;
            found.push_back(device(source));
            found.back().isDefault = source.name == standard;
        }
    } catch (const RecorderError&) {
        // Without a server there are none.
    }
    return found;
}

std::optional<PulseSoundSystem::Server> PulseSoundSystem::probe() const {
    try {
        PulseConnection connection(server_, kProbeSeconds);
        const PulseConnection::Server found = connection.server();
        return Server{found.name + " " + found.version, found.isPipeWire};
    } catch (const RecorderError&) {
        return std::nullopt;
    }
}

}  // namespace lumivastor::pulse
