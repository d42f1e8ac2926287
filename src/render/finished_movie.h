// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "base/pixel_size.h"
#include "edit/studio_layout.h"
#include "render/film_form.h"

namespace lumivastor::render {

/// What an export has written, for comparison with the file.
struct FinishedMovie {
    PixelSize canvas;
    std::int64_t pictures = 0;
    double seconds = 0;                  // until the end of the last picture
    double secondsPerPicture = 0;        // the tolerance of `seconds`
    std::optional<double> soundSeconds;  // the end of the sound; nullopt without sound
};

/// Opens a movie file and compares it with `expected`: one video track with that size, duration and number of pictures
/// in its index; sound of that duration, or none. A WebM file, whose index names key pictures only, is read to its end
/// for that. Throws `RecorderError` when anything differs, and logs the difference.
void checkFinishedMovie(const std::filesystem::path& path, FilmForm form, const FinishedMovie& expected);

}  // namespace lumivastor::render
