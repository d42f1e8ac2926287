// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "platform/capture_device.h"
#include "platform/device_selection.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// Where devices are searched.
struct DeviceAddresses {
    /// As in PIPEWIRE_REMOTE, or a socket's full path; empty means the environment's.
    std::string pipeWire;
    /// Filter graphs of FFmpeg that stand in for a camera and for a capture card; empty: none. A graph with more than
    /// one output labels them [out0], [out1]...; it runs at its own rate, without a `realtime` filter. Where a graph
    /// has the words {size}, they are replaced by the preset (1920x1080 and 1280x720 can be set, 640x480 otherwise);
    /// without them, only its own size can be set.
    std::string testCamera;
    std::string testDevice;
};

/// The environment variables LUMIVASTOR_TEST_CAMERA and LUMIVASTOR_TEST_DEVICE, for tests and demonstrations.
DeviceAddresses deviceAddressesFromEnvironment();

/// The cameras and capture cards of this machine, from PipeWire and V4L2, and the default microphone of `sounds`. The
/// default camera is, in this order: the test camera, PipeWire's default, the first V4L2 camera. Sound of a capture
/// card or a test device has 48000 Hz and two channels; it is the one that `selection` says when a card is opened.
std::unique_ptr<CaptureDevices> openCaptureDevices(
    std::shared_ptr<SoundSystem> sounds, DeviceAddresses addresses = deviceAddressesFromEnvironment(),
    std::shared_ptr<const DeviceSelection> selection = std::make_shared<DeviceSelection>());

}  // namespace lumivastor::platform
