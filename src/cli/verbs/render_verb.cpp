// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <optional>
#include <ostream>
#include <string>

#include "base/formatted.h"
#include "base/pixel_size.h"
#include "base/saturated.h"
#include "capture/recordings_root.h"
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
    OptionSpec{"--as", "webm|webp|gif", "andere Form: WebM, oder ein bewegtes Bild ohne Ton (höchstens 30 s)"},
    OptionSpec{"--width", "PIXEL", "Breite des bewegten Bildes, 64 bis 1920 (sonst 640)"},
    OptionSpec{"--rate", "BILDER", "Bilder je Sekunde des bewegten Bildes, 1 bis 50 (sonst 15)"},
    OptionSpec{"--from", "SEKUNDEN", "wo im Film das bewegte Bild beginnt (sonst 0)"},
    OptionSpec{"--to", "SEKUNDEN", "wo im Film das bewegte Bild endet (sonst 30 s später)"},
    OptionSpec{"--fresh", "", "macht alles neu, statt gleiche Teile eines früheren Videos zu übernehmen"},
    OptionSpec{"--loudness", "", "gleicht die Lautheit des Tons an, auch wenn das Projekt es nicht tut"},
    OptionSpec{"--chapters", "", "die Marken der Aufnahme als Kapitel (MP4 und MOV)"},
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

// The requested form, or else that of the file's extension; none: that of the project.
std::optional<render::FilmForm> formFrom(const Arguments& arguments, const std::filesystem::path& file) {
    const auto format = arguments.value("--format");
    const auto as = arguments.value("--as");
    if (format && as) throw UsageError("--format und --as schließen einander aus: --as ist schon eine Form.");
    if (!format && !as) return render::formOf(file);
    for (const render::FilmForm form : render::kAllFilmForms) {
        const bool isFormat = form == render::FilmForm::mp4 || form == render::FilmForm::mov;
        if ((isFormat ? format : as) == std::string(render::fileExtension(form))) return form;
    }
    if (format) throw UsageError("--format ist mp4 oder mov.");
    throw UsageError("--as ist webm, webp oder gif; für mp4 und mov gibt es --format.");
}

std::optional<double> numberFrom(const Arguments& arguments, const char* option, double least, double most) {
    const auto text = arguments.value(option);
    if (!text) return std::nullopt;
    double value = 0;
    const char* const end = text->data() + text->size();
    const auto [rest, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc() || rest != end || !(value >= least && value <= most)) {
        throw UsageError(formatted("%s ist eine Zahl von %g bis %g.", option, least, most));
    }
    return value;
}

int wholeNumberFrom(const Arguments& arguments, const char* option, int least, int most, int usual) {
    const std::optional<double> value = numberFrom(arguments, option, least, most);
    if (value && *value != std::floor(*value)) throw UsageError(std::string(option) + " ist eine ganze Zahl.");
    return value ? static_cast<int>(*value) : usual;
}

render::AnimationOptions animationFrom(const Arguments& arguments, std::optional<render::FilmForm> form) {
    using Options = render::AnimationOptions;
    if (!form || !render::isAnimation(*form)) {
        for (const char* option : {"--width", "--rate", "--from", "--to"}) {
            if (arguments.value(option)) {
                throw UsageError(std::string(option) + " gilt nur für bewegte Bilder: --as webp oder --as gif.");
            }
        }
        return {};
    }
    constexpr double kLongest = 1e6;  // seconds; the film is shorter
    Options options;
    options.width =
        wholeNumberFrom(arguments, "--width", Options::kMinimumWidth, Options::kMaximumWidth, options.width);
    options.rate = wholeNumberFrom(arguments, "--rate", 1, Options::kMaximumRate, options.rate);
    options.from = numberFrom(arguments, "--from", 0, kLongest).value_or(0);
    options.to = numberFrom(arguments, "--to", 0, kLongest);
    if (options.to && *options.to <= options.from) throw UsageError("--to liegt hinter --from.");
    if (options.to && *options.to - options.from > Options::kMaximumSeconds) {
        throw UsageError(formatted("Ein bewegtes Bild ist höchstens %g Sekunden lang.", Options::kMaximumSeconds));
    }
    return options;
}

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const std::optional<std::int64_t> wantedHeight = heightFrom(arguments);
    const std::filesystem::path file = arguments.value("--out").value_or("");
    const std::optional<render::FilmForm> form = formFrom(arguments, file);
    const render::AnimationOptions animation = animationFrom(arguments, form);
    const Interruption interruption;

    const PixelSize canvas =
        render::exportCanvas(wantedHeight.value_or(model::ProjectSettings::load(folder).exportHeight));
    const edit::Composition composition(folder, canvas.width, canvas.height);
    ProgressBar bar(
        std::cerr, saturated<std::int64_t>(composition.outputDuration() * static_cast<double>(composition.info().fps)));
    render::RenderOptions options;
    options.progress = [&bar](double fraction) { bar.update(fraction); };
    options.stop = interruption.token();
    options.form = form;
    options.animation = animation;
    options.file = file;
    options.cacheFolder = capture::filmCacheFolder();
    options.isFresh = arguments.has("--fresh");
    if (arguments.has("--loudness")) options.levelsLoudness = true;
    options.chapters = arguments.has("--chapters");
    const render::RenderResult result = render::renderMovieSync(composition, options);
    if (arguments.has("--json")) {
        writeMovieResult(out, result.url, result.frames, result.seconds,
                         StudioFacts{result.zoomCount, result.reusedFrames});
    } else {
        out << formatted("Fertig: %.1f s, %lld Zooms – %s\n", result.seconds, static_cast<long long>(result.zoomCount),
                         result.url.c_str());
    }
}

}  // namespace

constinit const Verb kRenderVerb = {"render", "ORDNER", "Rendert das fertige Video in den Ordner der Aufnahme.",
                                    kOptions, run};

}  // namespace lumivastor::cli
