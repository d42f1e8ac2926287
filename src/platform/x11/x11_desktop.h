#pragma once

#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/sound_system.h"

namespace lumivastor {

/// The desktop of an X11 server. `sound` may be null where no stream will ask for sound; an empty name means the server
/// that the environment names. Reads scales from the environment, so it is called before other threads change that.
/// Throws `RecorderError` when there is no such server.
std::unique_ptr<Desktop> openX11Desktop(std::shared_ptr<SoundSystem> sound, std::string displayName = "");

}  // namespace lumivastor
