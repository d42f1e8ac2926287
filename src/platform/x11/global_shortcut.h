// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/global_shortcut.h"

namespace lumivastor::x11 {

/// Takes a combination of keys for this program, on the whole X11 server and in every layout of the keyboard that can
/// be switched to. `pressed` runs on a thread of the shortcut's
/// own, once for each press; not after the shortcut is destroyed. An empty display name means the one of the
/// environment. Throws `RecorderError` when another program has the combination, or the keyboard has no such letter.
std::unique_ptr<platform::GlobalShortcut> grabX11Shortcut(const platform::KeyCombination& keys,
                                                          std::function<void()> pressed,
                                                          const std::string& displayName = "");

}  // namespace lumivastor::x11
