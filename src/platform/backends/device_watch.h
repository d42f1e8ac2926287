// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/backends/sound_backend.h"

namespace lumivastor::platform {

/// Calls `changed` on threads of its own whenever microphones, cameras or capture cards may have come or gone, or the
/// defaults may be others, while the result lives; not after that. Several changes within a moment are one. Follows the
/// sound servers as they come and go, and the nodes of V4L2 in `deviceFolder`.
std::shared_ptr<void> watchDevices(std::function<void()> changed, SoundServerAddresses addresses = {},
                                   std::string deviceFolder = "/dev");

}  // namespace lumivastor::platform
