// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/sound/sound_output.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// Where to look for sound servers; empty: where the environment and the servers' own configuration say.
struct SoundServerAddresses {
    std::string pulse;     // as in PULSE_SERVER
    std::string pipeWire;  // as in PIPEWIRE_REMOTE, or a socket's full path
};

/// The servers that answered.
struct FoundSoundServers {
    bool pulse = false;
    bool pulseIsPipeWire = false;  // PipeWire speaks PulseAudio's protocol
    bool pipeWireHasSound = false;
};

enum class SoundServerKind { none, pulse, pipeWire };

/// Chooses the server to record from. A genuine PulseAudio comes first, because programs play there even if PipeWire
/// runs beside it for cameras and screens; then PipeWire by its own interface, whose times are exact; then any server
/// with PulseAudio's protocol.
SoundServerKind chooseSoundServer(const FoundSoundServers& found);

/// The sound of this machine. Looks for servers at each call, so servers may come and go; a source stays with the kind
/// of server it was made for. Without a server, starting a source throws "Kein Tonserver gefunden.".
std::unique_ptr<SoundSystem> openSoundSystem(SoundServerAddresses addresses = {});

/// Where this machine plays sound. It may be lost at the first run, when there is no sound server.
std::unique_ptr<SoundOutput> openSoundOutput();

}  // namespace lumivastor::platform
