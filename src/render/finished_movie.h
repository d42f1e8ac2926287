// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "base/pixel_size.h"
#include "edit/studio_layout.h"

namespace lumivastor::render {

/// What an export says it has written.
struct FinishedMovie {
    PixelSize canvas;
    std::int64_t pictures = 0;
    double seconds = 0;                  // until the end of the last picture
    double secondsPerPicture = 0;        // how exact `seconds` is
    std::optional<double> soundSeconds;  // where sound ends; none without sound
};

/// Opens a movie file and compares: one video track of that size, with as many pictures in its index, as long; sound
/// if there should be, as long. Throws `RecorderError` when anything differs; what it is stands in the log.
void checkFinishedMovie(const std::filesystem::path& path, const FinishedMovie& expected);

}  // namespace lumivastor::render
