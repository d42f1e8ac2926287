// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/sound_system.h"

namespace lumivastor::x11 {

/// The desktop of an X11 server. `sound` may be null where no stream will ask for sound; an empty name means the server
/// that the environment names. Reads scales from the environment, so it is called before other threads change that.
/// Throws `RecorderError` when there is no such server.
std::unique_ptr<platform::Desktop> openX11Desktop(std::shared_ptr<platform::SoundSystem> sound,
                                                  std::string displayName = "");

}  // namespace lumivastor::x11
