// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <ostream>
#include <string>

#include "capture/recovery/recovery.h"
#include "cli/verb.h"
#include "cli/verbs/recording_result.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const capture::Recovery recovery = capture::recoverRecording(folder);
    if (arguments.has("--json")) {
        writeRecordingResult(out, recovery.stats, folder, {.recovered = recovery.recovered});
        return;
    }
    out << (recovery.recovered ? "Die Aufnahme wurde vervollständigt.\n" : "Die Aufnahme ist schon vollständig.\n")
        << describeRecording(recovery.stats, folder);
}

}  // namespace

constinit const Verb kRecoverVerb = {
    "recover", "ORDNER", "Vervollständigt eine Aufnahme, deren Programm mittendrin beendet wurde.", kOptions, run};

}  // namespace lumivastor::cli
