// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor::x11 {

/// Whether a compositing manager runs on the X11 server; without one, translucent windows show black. An empty display
/// name means the server of DISPLAY. False when the server does not answer. Any thread.
bool hasCompositingManager(const std::string& displayName = "");

}  // namespace lumivastor::x11
