// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/sound_system.h"

namespace lumivastor::x11 {

/// Opens the desktop of an X11 server. `sound` may be null if no stream will record sound; an empty name means the
/// server of DISPLAY. Reads scales from the environment, so call it while no other thread changes that. Throws
/// `RecorderError` when the server cannot be reached.
std::unique_ptr<platform::Desktop> openX11Desktop(std::shared_ptr<platform::SoundSystem> sound,
                                                  std::string displayName = "");

}  // namespace lumivastor::x11
