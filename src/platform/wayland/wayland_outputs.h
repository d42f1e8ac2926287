// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "platform/wayland/output_layout.h"

namespace lumivastor::wayland {

/// Asks the compositor at `display` (WAYLAND_DISPLAY when empty) for its screens. Empty when it does not answer within
/// a second: what is known of a screen then comes from its stream alone.
std::vector<Output> readOutputs(const std::string& display = "");

}  // namespace lumivastor::wayland
