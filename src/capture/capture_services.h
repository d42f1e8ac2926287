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

/// The services that a recorder uses. They must outlive every recorder made from them. Functions are called on any
/// thread.
struct RecordingServices {
    platform::CaptureDevices& devices;
    platform::SoundSystem& sound;
    MainLoop& mainLoop;
    /// Chooses the encoder of the screen movie; may take seconds.
    std::function<media::EncoderChoice(const media::EncodingJob&)> chooseEncoder;
    std::function<double()> hostClock = hostClockSeconds;
    /// The free space of a folder's volume; nullopt when unknown.
    std::function<std::optional<FreeSpace>(const std::filesystem::path&)> freeSpace = freeSpaceOf;
};

/// The same with the desktop, which recordings of cameras and capture cards do not need.
struct CaptureServices : RecordingServices {
    platform::Desktop& desktop;
};

}  // namespace lumivastor::capture
