// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "platform/pipewire/pipewire_connection.h"

namespace lumivastor::pipewire {

/// Where the hardware of these devices is, as paths below /sys/devices; those that do not tell are left out. Asks the
/// server, which takes a moment.
std::map<std::uint32_t, std::string> devicePlaces(PipeWireConnection& connection,
                                                  const std::set<std::uint32_t>& devices);

}  // namespace lumivastor::pipewire
