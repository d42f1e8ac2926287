// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "base/pixel_size.h"
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

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const PixelSize canvas = canvasFrom(arguments);
    const InspectOptions options{arguments.numbers("--at"), arguments.numbers("--output-at")};
    const edit::Composition composition(folder, canvas.width, canvas.height);
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
