// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/pipewire_sound_system.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <utility>

#include "base/recorder_error.h"
#include "platform/pipewire/device_places.h"
#include "platform/pipewire/pipewire_audio_input_stream.h"
#include "platform/pipewire/pipewire_connection.h"
#include "platform/sound/live_sound_source.h"

namespace lumivastor::pipewire {
namespace {

constexpr double kConnectSeconds = 3;
constexpr double kProbeSeconds = 1;

std::unique_ptr<platform::SoundSource> makeSource(const std::string& remote, PipeWireAudioInputStream::Kind kind,
                                                  const platform::InputChoice& choice, int sampleRate, int channels) {
    platform::ClockDriftCorrector::Options options;
    options.sampleRate = sampleRate;
    options.channels = channels;
    // Times are those of the server's cycles and stray by microseconds.
    options.jitterSeconds = 0.0005;
    options.gapSeconds = 0.01;
    options.settleSeconds = 0.1;
    const auto channelsAtStart = [remote, choice] {
        const PipeWireConnection connection(remote, kConnectSeconds);
        const auto found = chosenMicrophone(connection, choice);
        if (!found) throw RecorderError("Kein Mikrofon gefunden.");
        return microphoneChannels(*found);
    };
    const auto open = [remote, kind, choice, sampleRate](platform::ClockDriftCorrector& corrector) {
        return std::make_unique<PipeWireAudioInputStream>(remote, kind, choice, sampleRate, corrector.channels(),
                                                          corrector);
    };
    return std::make_unique<platform::LiveSoundSource>(options, open, channelsAtStart);
}

}  // namespace

PipeWireSoundSystem::PipeWireSoundSystem(std::string remote) : remote_(std::move(remote)) {}

std::unique_ptr<platform::SoundSource> PipeWireSoundSystem::systemAudio(int sampleRate, int channels) {
    return makeSource(remote_, PipeWireAudioInputStream::Kind::systemAudio, {}, sampleRate, channels);
}

std::unique_ptr<platform::SoundSource> PipeWireSoundSystem::microphone(int sampleRate) {
    return input(sampleRate, {});
}

std::unique_ptr<platform::SoundSource> PipeWireSoundSystem::input(int sampleRate, const platform::InputChoice& choice) {
    return makeSource(remote_, PipeWireAudioInputStream::Kind::microphone, choice, sampleRate, 0);
}

std::optional<platform::CaptureDevice> PipeWireSoundSystem::defaultMicrophone() {
    try {
        const PipeWireConnection connection(remote_, kConnectSeconds);
        const auto node = pipewire::defaultMicrophone(connection);
        if (!node) return std::nullopt;
        return platform::CaptureDevice{node->name, node->description, false, microphoneChannels(*node)};
    } catch (const RecorderError&) {
        return std::nullopt;
    }
}

std::vector<platform::CaptureDevice> PipeWireSoundSystem::microphones() {
    std::vector<platform::CaptureDevice> found;
    try {
        PipeWireConnection connection(remote_, kConnectSeconds);
        const auto standard = connection.defaultName("audio.source");
        const std::vector<PipeWireConnection::Node> nodes = connection.nodes();
        std::set<std::uint32_t> hardware;
        for (const PipeWireConnection::Node& node : nodes) {
            if (isMicrophone(node) && node.device) hardware.insert(*node.device);
        }
        const auto places = devicePlaces(connection, hardware);
        for (const PipeWireConnection::Node& node : nodes) {
            if (!isMicrophone(node)) continue;
            found.push_back({node.name, node.description, false, microphoneChannels(node)});
            found.back().isDefault = node.name == standard;
            const auto place = node.device ? places.find(*node.device) : places.end();
            if (place != places.end()) found.back().place = place->second;
        }
    } catch (const RecorderError&) {
        // Without a server there are none.
    }
    return found;
}

bool PipeWireSoundSystem::hasSound() const {
    try {
        const PipeWireConnection connection(remote_, kProbeSeconds);
        return connection.defaultName("audio.sink") || connection.defaultName("audio.source");
    } catch (const RecorderError&) {
        return false;
    }
}

}  // namespace lumivastor::pipewire
