#include <array>

#include "cli/inspect.h"
#include "cli/verb.h"

namespace lumivastor {

namespace {

// What the painter and any encoder can take.
constexpr int kMaxCanvas = 16384;

constexpr std::array kOptions = {
    OptionSpec{"--canvas", "BREITExHÖHE", "Größe des fertigen Bildes (sonst 2560x1440)"},
    OptionSpec{"--at", "T,T,…", "Kamera und Maus zu diesen Zeiten der Aufnahme, in Sekunden"},
    OptionSpec{"--output-at", "T,T,…", "Zeiten des Videos, zu denen die Zeit der Aufnahme gesucht wird"},
    OptionSpec{"--json", "", "ein JSON-Dokument statt des Berichts"},
};

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const PixelSize canvas = parsePixelSize(arguments.value("--canvas").value_or("2560x1440"), kMaxCanvas);
    const InspectOptions options{arguments.numbers("--at"), arguments.numbers("--output-at")};
    const Composition composition(folder, canvas.width, canvas.height);
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

}  // namespace lumivastor
