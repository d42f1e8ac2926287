// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "platform/input/pointer_devices.h"

namespace lumivastor::platform {

/// The pointer devices of this machine's first seat, through udev and libinput. They are opened for reading only, and
/// not grabbed; other programs see their events as before.
std::unique_ptr<PointerDevices> openPointerDevices();

}  // namespace lumivastor::platform
