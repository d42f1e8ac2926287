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

// The default source as a microphone, if it is one.
std::optional<platform::CaptureDevice> findMicrophone(PulseConnection& connection) {
    const PulseConnection::Server server = connection.server();
    if (server.defaultSource.empty()) return std::nullopt;
    const auto source = connection.source(server.defaultSource);
    if (!source || source->isMonitor) return std::nullopt;
    return platform::CaptureDevice{source->name, source->description, false, std::clamp(source->channels, 1, 2)};
}

std::unique_ptr<platform::SoundSource> makeSource(const std::string& server, PulseAudioInputStream::Kind kind,
                                                  int sampleRate, int channels) {
    platform::ClockDriftCorrector::Options options;
    options.sampleRate = sampleRate;
    options.channels = channels;
    const auto microphoneChannels = [server] {
        PulseConnection connection(server, kConnectSeconds);
        const auto found = findMicrophone(connection);
        if (!found) throw RecorderError("Kein Mikrofon gefunden.");
        return found->channels;
    };
    const auto open = [server, kind, sampleRate](platform::ClockDriftCorrector& corrector) {
        return std::make_unique<PulseAudioInputStream>(server, kind, sampleRate, corrector.channels(), corrector);
    };
    return std::make_unique<platform::LiveSoundSource>(options, open, microphoneChannels);
}

}  // namespace

PulseSoundSystem::PulseSoundSystem(std::string server) : server_(std::move(server)) {}

std::unique_ptr<platform::SoundSource> PulseSoundSystem::systemAudio(int sampleRate, int channels) {
    return makeSource(server_, PulseAudioInputStream::Kind::systemAudio, sampleRate, channels);
}

std::unique_ptr<platform::SoundSource> PulseSoundSystem::microphone(int sampleRate) {
    return makeSource(server_, PulseAudioInputStream::Kind::microphone, sampleRate, 0);
}

std::optional<platform::CaptureDevice> PulseSoundSystem::defaultMicrophone() {
    try {
        PulseConnection connection(server_, kConnectSeconds);
        return findMicrophone(connection);
    } catch (const RecorderError&) {
        return std::nullopt;
    }
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
