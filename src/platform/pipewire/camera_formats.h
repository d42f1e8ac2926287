// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/pipewire/pipewire_connection.h"

struct spa_pod;

namespace lumivastor::pipewire {

/// The sizes in which a camera delivers pictures: one, or everything between two.
struct CameraSizes {
    PixelSize minimum;
    PixelSize maximum;

    bool contains(PixelSize size) const {
        return size.width >= minimum.width && size.width <= maximum.width && size.height >= minimum.height &&
               size.height <= maximum.height;
    }
};

/// What a format description of a node offers, the preferred size first. Empty for what this program cannot read.
std::vector<CameraSizes> cameraSizes(const spa_pod* format);

/// Asks a node for its formats. The first is the one that it delivers when nothing is asked for.
std::vector<CameraSizes> askForCameraSizes(PipeWireConnection& connection, std::uint32_t node);

/// FFmpeg's pixel format for one of PipeWire's; nothing for those that are not read here.
std::optional<int> pixelFormat(std::uint32_t spaFormat);
/// All of PipeWire's formats that `pixelFormat` knows, the cheapest to convert first.
const std::vector<std::uint32_t>& readableFormats();

}  // namespace lumivastor::pipewire
