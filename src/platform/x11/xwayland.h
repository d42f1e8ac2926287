// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>

#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Whether a server with these RandR outputs and extensions is Xwayland, which shows windows of X11 programs on a
/// Wayland desktop. It has no access to the desktop itself, so its screen is black.
bool isXwayland(std::span<const std::string> outputs, std::span<const std::string> extensions);

/// The same for a connected server; false when it does not answer.
bool isXwayland(const XConnection& connection);

}  // namespace lumivastor::x11
