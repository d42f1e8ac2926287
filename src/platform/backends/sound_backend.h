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

/// What answered when somebody looked.
struct FoundSoundServers {
    bool pulse = false;
    bool pulseIsPipeWire = false;  // PipeWire speaks PulseAudio's protocol
    bool pipeWireHasSound = false;
};

enum class SoundServerKind { none, pulse, pipeWire };

/// Which server to listen to: a PulseAudio of its own right is where programs play, even when a PipeWire runs beside it
/// for cameras and screens; otherwise PipeWire by its own interface, whose times are exact; otherwise PulseAudio's
/// protocol, from whomever.
SoundServerKind chooseSoundServer(const FoundSoundServers& found);

/// The sound of this machine. Looks for servers each time that something is asked for, so a server that comes or goes
/// meanwhile is no trouble; a source stays with the kind of server it was made for. Without any, starting a source says
/// "Kein Tonserver gefunden.".
std::unique_ptr<SoundSystem> openSoundSystem(SoundServerAddresses addresses = {});

/// Where this machine plays sound. It may be lost at the first run, when there is no sound server.
std::unique_ptr<SoundOutput> openSoundOutput();

}  // namespace lumivastor::platform
