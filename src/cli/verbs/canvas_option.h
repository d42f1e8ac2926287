// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/pixel_size.h"
#include "cli/arguments.h"

namespace lumivastor::cli {

/// The option --canvas of several verbs.
inline constexpr OptionSpec kCanvasOption = {"--canvas", "BREITExHÖHE", "Größe des fertigen Bildes (sonst 2560x1440)"};

/// The given canvas size, or the default. At most 16384 pixels in each direction, the painter's limit.
inline PixelSize canvasFrom(const Arguments& arguments) {
    return parsePixelSize(arguments.value(kCanvasOption.name).value_or("2560x1440"), 16384);
}

}  // namespace lumivastor::cli
