// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <filesystem>
#include <optional>

#include "base/log.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "cli/verb.h"
#include "cli/verbs/canvas_option.h"
#include "cli/verbs/inspect_json.h"
#include "cli/verbs/inspect_report.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    kCanvasOption,
    OptionSpec{"--at", "T,T,…", "Kamera und Maus zu diesen Zeiten der Aufnahme, in Sekunden"},
    OptionSpec{"--output-at", "T,T,…", "Zeiten des Videos, zu denen die Zeit der Aufnahme gesucht wird"},
    OptionSpec{"--json", "", "ein JSON-Dokument statt des Berichts"},
};

// A document that nothing depends on: a faulty one counts as none.
std::optional<model::RecordingQuality> qualityOf(const std::filesystem::path& folder) {
    try {
        return model::RecordingQuality::find(folder);
    } catch (const RecorderError& error) {
        Log::write("Capture", error.message());
        return std::nullopt;
    }
}

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const PixelSize canvas = canvasFrom(arguments);
    InspectOptions options{arguments.numbers("--at"), arguments.numbers("--output-at")};
    const edit::Composition composition(folder, canvas.width, canvas.height);
    options.quality = qualityOf(folder);
    if (arguments.has("--json")) {
        writeInspection(composition, options, out);
    } else {
        printInspection(composition, options, out);
    }
}

}  // namespace

constinit const Verb kInspectVerb = {"inspect", "ORDNER",
                                     "Zeigt, was aus einer Aufnahme und ihren Einstellungen folgt; öffnet keinen Film.",
                                     kOptions, run};

}  // namespace lumivastor::cli
