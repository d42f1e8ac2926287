// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

#include "base/interval.h"
#include "base/pixel_size.h"
#include "model/project_settings.h"

// The forms in which a film can be exported. A document chooses between MP4 and MOV; the others are chosen for one
// export only. Pure functions and values.

namespace lumivastor::render {

enum class FilmForm {
    mp4,
    mov,
    webm,  // VP9 and Opus
    webp,  // animated picture
    gif,   // animated picture
};

inline constexpr std::array kAllFilmForms = {FilmForm::mp4, FilmForm::mov, FilmForm::webm, FilmForm::webp,
                                             FilmForm::gif};

FilmForm filmForm(model::ExportFormat format);

/// "mp4", without the dot.
std::string_view fileExtension(FilmForm form);

/// The form whose extension a file has, in any case; nullopt for other names.
std::optional<FilmForm> formOf(const std::filesystem::path& file);

/// Animated pictures have no sound, a size and rate of their own, and a limited length.
constexpr bool isAnimation(FilmForm form) {
    return form == FilmForm::webp || form == FilmForm::gif;
}

/// The name of a film in the recording's folder: "studio-output.webm".
std::filesystem::path usualName(FilmForm form);

/// An animated picture: which part of the film it shows, and how.
struct AnimationOptions {
    static constexpr double kMaximumSeconds = 30;
    static constexpr int kMinimumWidth = 64;
    static constexpr int kMaximumWidth = 1920;
    static constexpr int kMaximumRate = 50;  // browsers show a GIF no faster

    int width = 640;  // pixels; the height follows from the film's
    int rate = 15;    // pictures a second, at most
    double from = 0;  // seconds of the film
    std::optional<double> to{};

    bool operator==(const AnimationOptions&) const = default;
};

/// The part of a film of `duration` seconds that is shown: limited to the film and to `kMaximumSeconds`. Throws
/// `RecorderError` when nothing is left.
Interval animatedPart(const AnimationOptions& options, double duration);

/// The picture's size, which has the proportions of `canvas`. Throws `RecorderError` for a width or rate outside the
/// limits.
PixelSize animationSize(const AnimationOptions& options, PixelSize canvas);

}  // namespace lumivastor::render
