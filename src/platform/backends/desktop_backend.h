// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/global_shortcut.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// Opens the desktop of this session: the X11 server in DISPLAY, or a Wayland desktop through its portal (see
/// desktop_choice.h). `sound` may be null if no stream will record sound. Reads the environment, so call it while no
/// other thread changes that. Throws `RecorderError` without a display server or message bus.
std::unique_ptr<Desktop> openDesktop(std::shared_ptr<SoundSystem> sound);

/// Opens a desktop that lists what can be recorded, for callers that cannot lead through a desktop's own dialog: the
/// X11 server in DISPLAY. Otherwise like `openDesktop`.
std::unique_ptr<Desktop> openListedDesktop(std::shared_ptr<SoundSystem> sound);

/// Grabs a key combination on the whole desktop. `pressed` runs on the shortcut's own thread, once for each press, and
/// not after destruction. Throws `RecorderError` when another program has the combination, or the keyboard lacks the
/// letter.
std::unique_ptr<GlobalShortcut> grabShortcut(const KeyCombination& keys, std::function<void()> pressed);

/// Whether windows can be translucent; without a compositing manager they show black. False when the display server
/// does not answer.
bool canShowTranslucentWindows();

}  // namespace lumivastor::platform
