// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "platform/x11/x_atoms.h"

namespace lumivastor::x11 {

/// The layer of a window (`Window::layer`) by its _NET_WM_WINDOW_TYPE list, preferred type first, and its _NET_WM_STATE
/// list.
int windowLayer(std::span<const XAtom> types, std::span<const XAtom> states);

}  // namespace lumivastor::x11
