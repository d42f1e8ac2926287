// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "platform/sound/sound_output.h"

namespace lumivastor::platform {

/// An output that plays nothing: the host clock says how much would have been heard. When the machine is too busy to
/// request sound in time, this clock waits.
std::unique_ptr<SoundOutput> makeSilentOutput();

}  // namespace lumivastor::platform
