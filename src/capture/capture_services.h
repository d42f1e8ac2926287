// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <optional>

#include "base/host_clock.h"
#include "base/main_loop.h"
#include "capture/free_space.h"
#include "media/encoder_choice/encoder_choice.h"
#include "platform/capture_device.h"
#include "platform/desktop.h"
#include "platform/sound_system.h"

namespace lumivastor::capture {

/// What a recorder works with. Whoever makes recorders keeps all of it alive longer than they live; functions are
/// called on any thread.
struct RecordingServices {
    platform::CaptureDevices& devices;
    platform::SoundSystem& sound;
    MainLoop& mainLoop;
    /// Finds the encoder of the screen movie; may take seconds.
    std::function<media::EncoderChoice(const media::EncodingJob&)> chooseEncoder;
    std::function<double()> hostClock = hostClockSeconds;
    /// Of the volume that holds a folder; nothing when that is not known.
    std::function<std::optional<FreeSpace>(const std::filesystem::path&)> freeSpace = freeSpaceOf;
};

/// The same and the desktop, which recording a camera or a capture card does not need.
struct CaptureServices : RecordingServices {
    platform::Desktop& desktop;
};

}  // namespace lumivastor::capture
