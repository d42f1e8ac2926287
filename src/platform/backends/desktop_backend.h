// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/desktop.h"
#include "platform/global_shortcut.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// The desktop of this session: that of the X11 server which the environment names. `sound` may be null where no stream
/// will ask for sound. Reads scales from the environment, so call it before other threads change that. Throws
/// `RecorderError` when there is no display server.
std::unique_ptr<Desktop> openDesktop(std::shared_ptr<SoundSystem> sound);

/// Takes a combination of keys for this program, on the whole desktop. `pressed` runs on a thread of the shortcut's
/// own, once for each press; not after the shortcut is destroyed. Throws `RecorderError` when another program has the
/// combination, or the keyboard has no such letter.
std::unique_ptr<GlobalShortcut> grabShortcut(const KeyCombination& keys, std::function<void()> pressed);

/// Whether windows may be see-through. Without a compositing manager they show black. False when the display server
/// does not answer.
bool canShowTranslucentWindows();

}  // namespace lumivastor::platform
