// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <ostream>

#include "base/main_loop.h"
#include "capture/recordings_root.h"
#include "cli/machine.h"
#include "cli/verb.h"
#include "cli/verbs/doctor.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "der Befund als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    if (!arguments.positional().empty()) throw UsageError("Zu viele Angaben: " + arguments.positional().front());
    BlockingMainLoop loop;
    Machine machine(loop);
    const std::vector<Check> checks = examine(
        {[&]() -> platform::Desktop& { return machine.desktop(); },
         [&]() -> platform::SoundSystem& { return machine.sound(); },
         [&]() -> platform::CaptureDevices& { return machine.devices(); },
         [](const media::EncodingJob& job) { return media::chooseRecordingEncoder(job, capture::encoderMemoryFile()); },
         capture::freeSpaceOf, capture::recordingsRoot()});
    if (arguments.has("--json")) {
        writeChecks(checks, out);
    } else {
        printChecks(checks, out);
    }
    if (!canRecordScreens(checks)) throw JobFailed("Auf diesem Rechner lässt sich kein Bildschirm aufnehmen.");
}

}  // namespace

constinit const Verb kDoctorVerb = {"doctor", "", "Sagt, was dieser Rechner für Aufnahmen mitbringt und was ihm fehlt.",
                                    kOptions, run};

}  // namespace lumivastor::cli
