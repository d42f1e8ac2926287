// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_form.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string>

#include "base/formatted.h"
#include "base/recorder_error.h"

namespace lumivastor::render {

FilmForm filmForm(model::ExportFormat format) {
    return format == model::ExportFormat::mov ? FilmForm::mov : FilmForm::mp4;
}

std::string_view fileExtension(FilmForm form) {
    switch (form) {
        case FilmForm::mp4:
            return "mp4";
        case FilmForm::mov:
            return "mov";
        case FilmForm::webm:
            return "webm";
        case FilmForm::webp:
            return "webp";
        case FilmForm::gif:
            return "gif";
    }
    return {};
}

std::optional<FilmForm> formOf(const std::filesystem::path& file) {
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const FilmForm form : kAllFilmForms) {
        if (extension == "." + std::string(fileExtension(form))) return form;
    }
    return std::nullopt;
}

std::filesystem::path usualName(FilmForm form) {
    return "studio-output." + std::string(fileExtension(form));
}

Interval animatedPart(const AnimationOptions& options, double duration) {
    if (!std::isfinite(options.from) || (options.to && !std::isfinite(*options.to))) {
        throw RecorderError("Der Ausschnitt des bewegten Bildes ist unzulässig.");
    }
    const double from = std::max(options.from, 0.0);
    const double end = std::min(options.to.value_or(duration), duration);
    if (!(from < end)) {
        throw RecorderError(formatted("Der Ausschnitt ist leer: Der Film dauert %.1f Sekunden.", duration));
    }
    return {from, std::min(end, from + AnimationOptions::kMaximumSeconds)};
}

PixelSize animationSize(const AnimationOptions& options, PixelSize canvas) {
    if (options.width < AnimationOptions::kMinimumWidth || options.width > AnimationOptions::kMaximumWidth) {
        throw RecorderError(formatted("Die Breite des bewegten Bildes ist unzulässig: %d.", options.width));
    }
    if (options.rate < 1 || options.rate > AnimationOptions::kMaximumRate) {
        throw RecorderError(formatted("Die Bildrate des bewegten Bildes ist unzulässig: %d.", options.rate));
    }
    const double height = static_cast<double>(options.width) * canvas.height / canvas.width;
    return {options.width, std::max(1, static_cast<int>(std::lround(height)))};
}

}  // namespace lumivastor::render
