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

/// The sizes that a node's format description offers, the preferred one first. Empty for formats that this program
/// cannot read.
std::vector<CameraSizes> cameraSizes(const spa_pod* format);

/// Queries a node's formats. The first is the one that it delivers by default.
std::vector<CameraSizes> askForCameraSizes(PipeWireConnection& connection, std::uint32_t node);

/// FFmpeg's pixel format for one of PipeWire's; nullopt for formats that this program cannot read.
std::optional<int> pixelFormat(std::uint32_t spaFormat);
/// All of PipeWire's formats that `pixelFormat` knows, the cheapest to convert first.
const std::vector<std::uint32_t>& readableFormats();

}  // namespace lumivastor::pipewire
