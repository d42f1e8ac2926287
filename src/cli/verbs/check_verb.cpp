// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <iostream>
#include <ostream>
#include <string>

#include "base/formatted.h"
#include "cli/interruption.h"
#include "cli/progress_bar.h"
#include "cli/verb.h"
#include "cli/verbs/movie_result.h"
#include "model/capture_info.h"
#include "render/cursor_renderer.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const Interruption interruption;
    ProgressBar bar(std::cerr, model::CaptureInfo::load(folder).framesWritten);
    render::CursorRenderer::Options options;
    options.progress = [&bar](double fraction) { bar.update(fraction); };
    options.stop = interruption.token();
    const render::CursorRenderer::Result result = render::CursorRenderer::renderSync(folder, options);
    if (arguments.has("--json")) {
        writeMovieResult(out, result.url, result.frames, result.seconds);
    } else {
        out << formatted("Fertig: %.1f s – %s\n", result.seconds, result.url.c_str());
    }
}

}  // namespace

constinit const Verb kCheckVerb = {
    "check", "ORDNER", "Schreibt das Prüfvideo: die rohe Aufnahme mit Maus und Klicks darin.", kOptions, run};

}  // namespace lumivastor::cli
