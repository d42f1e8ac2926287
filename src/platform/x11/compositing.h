// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor::x11 {

/// Whether a compositing manager runs on the X11 server, without which windows that are see-through show black. An
/// empty display name means the one of the environment. False when the server does not answer.
bool hasCompositingManager(const std::string& displayName = "");

}  // namespace lumivastor::x11
