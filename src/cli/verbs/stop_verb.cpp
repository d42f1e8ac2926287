// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <ostream>

#include "base/recorder_error.h"
#include "capture/recording_control.h"
#include "cli/verb.h"
#include "model/json_writer.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    if (!arguments.positional().empty()) throw UsageError("Zu viele Angaben: " + arguments.positional().front());
    const int stopped = capture::stopRecordings(capture::recordingControlFolder());
    if (stopped == 0) throw RecorderError("Es läuft keine Aufnahme.");
    if (arguments.has("--json")) {
        model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
        writer.beginObject();
        writer.key("stopped");
        writer.integer(stopped);
        writer.endObject();
        writer.finish();
        out << "\n";
        return;
    }
    out << (stopped == 1 ? "Die Aufnahme wird beendet.\n" : "Die Aufnahmen werden beendet.\n");
}

}  // namespace

constinit const Verb kStopVerb = {"stop", "", "Beendet die laufende Aufnahme wie ihr Stop-Knopf.", kOptions, run};

}  // namespace lumivastor::cli
