// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <iostream>
#include <ostream>
#include <string>
#include <string_view>

#include "base/formatted.h"
#include "capture/proof/recording_proof.h"
#include "cli/interruption.h"
#include "cli/status_line.h"
#include "cli/verb.h"
#include "model/record_writer.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--thorough", "", "dekodiert jedes Bild statt einer Auswahl; dauert etwa so lange wie ein Export"},
    OptionSpec{"--json", "", "Befund und Messwerte als JSON-Dokument"},
};

void printQuality(const model::RecordingQuality& quality, std::ostream& out) {
    for (const model::QualityCheck& check : quality.checks) {
        out << (check.ok ? "  ✓ " : "  ✗ ") << check.detail << "\n";
    }
    if (quality.ok) out << quality.summary << "\n";
}

void writeQuality(const model::RecordingQuality& quality, std::ostream& out) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writeRecord(writer, quality);
    writer.finish();
    out << "\n";
}

void run(const Arguments& arguments, std::ostream& out) {
    const std::string& folder = arguments.single("ORDNER einer Aufnahme");
    const Interruption interruption;
    capture::ProofOptions options;
    options.isThorough = arguments.has("--thorough");
    options.stop = interruption.token();
    StatusLine status(std::cerr);
    options.progress = [&status](double done) {
        status.show(formatted("Prüfe … %3d %%", static_cast<int>(done * 100)));
    };
    const model::RecordingQuality quality = capture::checkRecording(folder, options);
    status.show("");
    if (arguments.has("--json")) {
        writeQuality(quality, out);
    } else {
        printQuality(quality, out);
    }
    if (!quality.ok) throw JobFailed(quality.summary);
}

}  // namespace

constinit const Verb kVerifyVerb = {
    "verify", "ORDNER", "Prüft eine Aufnahme: Bilder, Ton, Länge, Gleichlauf und Lautheit. Ändert nichts an ihr.",
    kOptions, run};

}  // namespace lumivastor::cli
