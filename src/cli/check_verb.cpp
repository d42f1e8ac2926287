#include <array>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <ostream>
#include <string>

#include "base/formatted.h"
#include "cli/interruption.h"
#include "cli/progress_bar.h"
#include "cli/verb.h"
#include "model/capture_info.h"
#include "model/json_writer.h"
#include "render/cursor_renderer.h"

namespace lumivastor {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const Interruption interruption;
    ProgressBar bar(std::cerr, CaptureInfo::load(folder).framesWritten);
    CursorRenderer::Options options;
    options.progress = [&bar](double fraction) { bar.update(fraction); };
    options.stop = interruption.token();
    const CursorRenderer::Result result = CursorRenderer::renderSync(folder, options);
    if (!arguments.has("--json")) {
        out << formatted("Fertig: %.1f s – %s\n", result.seconds, result.url.c_str());
        return;
    }
    JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writer.beginObject();
    writer.key("url");
    writer.text(std::filesystem::absolute(result.url).string());
    writer.key("frames");
    writer.integer(result.frames);
    writer.key("seconds");
    writer.number(result.seconds);
    writer.endObject();
    writer.finish();
    out << "\n";
}

}  // namespace

constinit const Verb kCheckVerb = {
    "check", "ORDNER", "Schreibt das Prüfvideo: die rohe Aufnahme mit Maus und Klicks darin.", kOptions, run};

}  // namespace lumivastor
