// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// Opens the desktop of this session: the X11 server in DISPLAY, or a Wayland desktop through its portal (see
/// desktop_choice.h). `sound` may be null if no stream will record sound. Reads the environment, so call it while no
/// other thread changes that. Throws `RecorderError` without a display server or message bus.
std::unique_ptr<Desktop> openDesktop(std::shared_ptr<SoundSystem> sound);

/// Whether windows can be translucent; without a compositing manager they show black. False when the display server
/// does not answer.
bool canShowTranslucentWindows();

}  // namespace lumivastor::platform
