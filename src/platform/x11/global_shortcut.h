// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/global_shortcut.h"

namespace lumivastor::x11 {

/// Grabs a key combination on the whole X11 server, in every keyboard layout that the user can switch to. `pressed`
/// runs on the shortcut's own thread ("x11.shortcut"), once for each press, and not after destruction. An empty display
/// name means the server of DISPLAY. Throws `RecorderError` when another program has the combination, or the keyboard
/// lacks the letter.
std::unique_ptr<platform::GlobalShortcut> grabX11Shortcut(const platform::KeyCombination& keys,
                                                          std::function<void()> pressed,
                                                          const std::string& displayName = "");

}  // namespace lumivastor::x11
