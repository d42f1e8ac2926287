// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

#include "base/handled_error.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "capture/free_space.h"
#include "capture/journal/journal.h"
#include "capture/proof/recording_proof.h"
#include "capture/recovery/recovery.h"
#include "capture/recovery/recovery_space.h"
#include "cli/verb.h"
#include "cli/verbs/recording_result.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

// Unlike the application it also completes without room, by giving up the end of the recording. What fails nevertheless
// says how much room it takes.
capture::Recovery recovered(const std::filesystem::path& folder) {
    try {
        return capture::recoverRecording(folder);
    } catch (const RecorderError& error) {
        const auto lack = capture::isUnfinishedRecording(folder)
                              ? capture::lackOfRecoverySpace(folder, capture::freeSpaceOf(folder))
                              : std::nullopt;
        if (!lack) throw;
        throw RecorderError(error.message() + " " + lack->message());
    }
}

// What it finds changes neither the result nor the exit status.
void prove(const std::filesystem::path& folder, bool isForPeople, std::ostream& out) {
    try {
        const model::RecordingQuality quality = capture::proveRecording(folder);
        if (isForPeople) out << quality.summary << "\n";
    } catch (...) {
        Log::write("Capture", "Prüfung: " + handledError("Unerwarteter Fehler").message());
    }
}

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const capture::Recovery recovery = recovered(folder);
    if (arguments.has("--json")) {
        writeRecordingResult(out, recovery.stats, folder, {.recovered = recovery.recovered});
        out << std::flush;
        if (recovery.recovered) prove(folder, false, out);
        return;
    }
    out << (recovery.recovered ? "Die Aufnahme wurde vervollständigt.\n" : "Die Aufnahme ist schon vollständig.\n")
        << describeRecording(recovery.stats, folder) << std::flush;
    if (recovery.recovered) prove(folder, true, out);
}

}  // namespace

constinit const Verb kRecoverVerb = {
    "recover", "ORDNER", "Vervollständigt eine Aufnahme, deren Programm mittendrin beendet wurde.", kOptions, run};

}  // namespace lumivastor::cli
