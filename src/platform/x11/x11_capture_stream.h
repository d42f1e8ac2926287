// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/capture_stream.h"
#include "platform/sound_system.h"
#include "platform/x11/screen_scales.h"

namespace lumivastor::x11 {

/// Pictures of an X11 desktop, taken on the stream's own thread ("x11.capture") and connection, and sound from the
/// sound system.
std::unique_ptr<platform::CaptureStream> makeX11CaptureStream(const std::string& displayName,
                                                              const ScreenScales& environment,
                                                              std::shared_ptr<platform::SoundSystem> sound,
                                                              const platform::ContentFilter& filter,
                                                              const platform::StreamConfiguration& configuration);

}  // namespace lumivastor::x11
