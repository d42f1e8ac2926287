// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>

#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Whether a server with these outputs (by RandR) and extensions is Xwayland, which shows the windows of X11 programs
/// on a Wayland desktop. The desktop itself is not in it: its screen is black wherever one looks.
bool isXwayland(std::span<const std::string> outputs, std::span<const std::string> extensions);

/// The same of a server that answers; false of one that does not.
bool isXwayland(const XConnection& connection);

}  // namespace lumivastor::x11
