// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "base/main_loop.h"
#include "capture/recording/device_recorder.h"
#include "cli/machine.h"
#include "cli/verb.h"
#include "cli/verbs/sources.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "die Liste als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    if (!arguments.positional().empty()) throw UsageError("Zu viele Angaben: " + arguments.positional().front());
    BlockingMainLoop loop;
    Machine machine(loop);
    platform::Desktop& desktop = machine.desktop();
    Sources sources =
        recordableSources(desktop.shareableContent(), capture::DeviceRecorder::availableDevices(machine.devices()));
    if (platform::ContentPicker* const picker = desktop.contentPicker()) sources.picker = picker->offer();
    if (arguments.has("--json")) {
        writeSources(sources, out);
    } else {
        printSources(sources, out);
    }
}

}  // namespace

constinit const Verb kSourcesVerb = {
    "sources", "", "Listet Bildschirme, Fenster und Geräte auf, die sich aufnehmen lassen.", kOptions, run};

}  // namespace lumivastor::cli
