// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "platform/global_shortcut.h"

namespace lumivastor::wayland {

/// Whether this session's portal gives programs key combinations (org.freedesktop.portal.GlobalShortcuts). False also
/// without a message bus, or when the portal does not answer within some seconds. `busAddress`: as for
/// `PortalConnection`.
bool offersPortalShortcuts(const std::string& busAddress = "");

/// Asks the portal for a key combination, and listens for it on a thread of its own ("wayland.keys"). Waits until
/// the user has answered the portal's dialog, where there is one. Otherwise as `Desktop::grabShortcut`. A shortcut
/// whose portal dies is silent from then on and has no keys.
std::unique_ptr<platform::GlobalShortcut> grabPortalShortcut(const std::string& busAddress,
                                                             const platform::ShortcutRequest& request,
                                                             std::function<void()> pressed, std::stop_token stop);

}  // namespace lumivastor::wayland
