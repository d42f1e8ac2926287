// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"

namespace lumivastor::devices {

/// A size in which a V4L2 device delivers pictures of one format.
struct V4l2Format {
    /// libavdevice's name ("mjpeg", "yuyv422").
    std::string name;
    PixelSize size;
    double framesPerSecond = 0;  // the most; 0 when the driver does not say

    bool operator==(const V4l2Format&) const = default;
};

struct V4l2Device {
    std::string path;    // "/dev/video0"
    std::string card;    // for users
    std::string driver;  // the kernel's driver
    std::string bus;
    std::string place;  // the hardware: a path below /sys/devices; empty when unknown
    std::vector<V4l2Format> formats;
    PixelSize activeFormat;
};

/// Whether a device is a capture card, by its names and bus, because V4L2 has no flag for it. Drivers of internal cards
/// capture HDMI or broadcasts, never cameras; USB devices (uvcvideo) count as capture cards when their name has a word
/// that makers of HDMI converters use. All other devices are cameras.
bool isCaptureCard(const std::string& card, const std::string& driver, const std::string& bus);

/// The format to ask for to get pictures of this size: the fastest up to 30 pictures a second, uncompressed before
/// compressed where both are as fast. Nothing when no format has at least 15 in this size: then a smaller picture
/// serves better.
std::optional<V4l2Format> chooseFormat(const std::vector<V4l2Format>& formats, PixelSize size);

/// The devices of this machine that deliver pictures, in the order of their numbers. Any thread.
std::vector<V4l2Device> listV4l2Devices();

}  // namespace lumivastor::devices
