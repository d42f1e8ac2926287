// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/sound/sound_output.h"

namespace lumivastor::pulse {

/// The sound server at `server` (PulseAudio's spelling), the user's unless named; it is connected to right away, so
/// that the first run begins soon. Without one, starting loses the output at once; a server that does not answer is
/// given up after a second. A run whose sink cannot play yet, because it has made much silence ahead, begins unheard.
std::unique_ptr<platform::SoundOutput> makePulseOutput(std::string server = {});

}  // namespace lumivastor::pulse
