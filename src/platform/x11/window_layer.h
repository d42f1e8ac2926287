// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "platform/x11/x_atoms.h"

namespace lumivastor::x11 {

/// The layer of a window (`Window::layer`) from what it says about itself: its types, the one it would like best first,
/// and its states.
int windowLayer(std::span<const XAtom> types, std::span<const XAtom> states);

}  // namespace lumivastor::x11
