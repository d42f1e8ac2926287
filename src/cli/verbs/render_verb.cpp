// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <optional>
#include <ostream>
#include <string>

#include "base/formatted.h"
#include "base/pixel_size.h"
#include "base/saturated.h"
#include "cli/interruption.h"
#include "cli/progress_bar.h"
#include "cli/verb.h"
#include "cli/verbs/movie_result.h"
#include "edit/composition.h"
#include "render/export_plan.h"
#include "render/movie_renderer.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--height", "1080|1440|2160", "Zeilen des Videos, statt der Einstellung des Projekts"},
    OptionSpec{"--format", "mp4|mov", "Dateiformat, statt der Einstellung des Projekts"},
    OptionSpec{"--out", "DATEI", "wohin das Video geschrieben wird (sonst in den Ordner der Aufnahme)"},
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

std::optional<std::int64_t> heightFrom(const Arguments& arguments) {
    const auto text = arguments.value("--height");
    if (!text) return std::nullopt;
    for (const int height : {1080, 1440, 2160}) {
        if (*text == std::to_string(height)) return height;
    }
    throw UsageError("--height ist 1080, 1440 oder 2160.");
}

// The requested container, or else that of the file's extension.
std::optional<model::ExportFormat> formatFrom(const Arguments& arguments, const std::filesystem::path& file) {
    const auto text = arguments.value("--format");
    const std::string wanted = text ? "." + *text : file.extension().string();
    for (const model::ExportFormat format : model::kAllExportFormats) {
        if (wanted == "." + std::string(model::fileExtension(format))) return format;
    }
    if (text) throw UsageError("--format ist mp4 oder mov.");
    return std::nullopt;
}

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const std::optional<std::int64_t> wantedHeight = heightFrom(arguments);
    const std::filesystem::path file = arguments.value("--out").value_or("");
    const std::optional<model::ExportFormat> format = formatFrom(arguments, file);
    const Interruption interruption;

    const PixelSize canvas =
        render::exportCanvas(wantedHeight.value_or(model::ProjectSettings::load(folder).exportHeight));
    const edit::Composition composition(folder, canvas.width, canvas.height);
    ProgressBar bar(
        std::cerr, saturated<std::int64_t>(composition.outputDuration() * static_cast<double>(composition.info().fps)));
    render::RenderOptions options;
    options.progress = [&bar](double fraction) { bar.update(fraction); };
    options.stop = interruption.token();
    options.format = format;
    options.file = file;
    const render::RenderResult result = render::renderMovieSync(composition, options);
    if (arguments.has("--json")) {
        writeMovieResult(out, result.url, result.frames, result.seconds, result.zoomCount);
    } else {
        out << formatted("Fertig: %.1f s, %lld Zooms – %s\n", result.seconds, static_cast<long long>(result.zoomCount),
                         result.url.c_str());
    }
}

}  // namespace

constinit const Verb kRenderVerb = {"render", "ORDNER", "Rendert das fertige Video in den Ordner der Aufnahme.",
                                    kOptions, run};

}  // namespace lumivastor::cli
