#include <array>
#include <ostream>
#include <string>

#include "base/formatted.h"
#include "base/main_loop.h"
#include "capture/device_recorder.h"
#include "capture/source_listing.h"
#include "cli/machine.h"
#include "cli/sources.h"
#include "cli/verb.h"
#include "model/json_writer.h"

namespace lumivastor {

void writeSources(const Sources& sources, std::ostream& out) {
    JsonWriter writer([&out](std::string_view piece) { out << piece; });
    const auto number = [&writer](const char* key, double value) {
        writer.key(key);
        writer.number(value);
    };
    const auto integer = [&writer](const char* key, std::int64_t value) {
        writer.key(key);
        writer.integer(value);
    };
    const auto text = [&writer](const char* key, const std::string& value) {
        writer.key(key);
        writer.text(value);
    };
    const auto frame = [&number](const Rect& rect) {
        number("x", rect.x);
        number("y", rect.y);
        number("width", rect.width);
        number("height", rect.height);
    };
    writer.beginObject();
    writer.key("displays");
    writer.beginArray();
    for (std::size_t i = 0; i < sources.displays.size(); ++i) {
        const Display& display = sources.displays[i];
        writer.beginObject();
        integer("index", static_cast<std::int64_t>(i));
        integer("id", display.id);
        text("name", display.name);
        frame(display.frame);
        number("scale", display.scale);
        writer.endObject();
    }
    writer.endArray();
    writer.key("windows");
    writer.beginArray();
    for (const Window& window : sources.windows) {
        writer.beginObject();
        integer("id", window.id);
        text("application", window.application ? window.application->name.value_or("") : "");
        text("title", window.title.value_or(""));
        frame(window.frame);
        writer.endObject();
    }
    writer.endArray();
    writer.key("devices");
    writer.beginArray();
    for (const CaptureDevice& device : sources.devices) {
        writer.beginObject();
        text("id", device.id);
        text("name", device.name);
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
    writer.finish();
    out << "\n";
}

void printSources(const Sources& sources, std::ostream& out) {
    out << "Bildschirme\n";
    for (std::size_t i = 0; i < sources.displays.size(); ++i) {
        out << formatted("  --display %zu  ", i) << displayTitle(sources.displays[i], i) << " ("
            << sources.displays[i].name << ")\n";
    }
    if (sources.displays.empty()) out << "  keine\n";
    out << "\nFenster\n";
    for (const Window& window : sources.windows) {
        out << formatted("  --window %u  ", window.id) << windowTitle(window) << "\n";
    }
    if (sources.windows.empty()) out << "  keine\n";
    out << "\nGeräte\n";
    for (const CaptureDevice& device : sources.devices)
        out << "  --device " << device.id << "  " << device.name << "\n";
    if (sources.devices.empty()) out << "  keine\n";
}

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--json", "", "die Liste als JSON-Dokument"},
};

void run(const Arguments& arguments, std::ostream& out) {
    if (!arguments.positional().empty()) throw UsageError("Zu viele Angaben: " + arguments.positional().front());
    BlockingMainLoop loop;
    Machine machine(loop);
    const ShareableContent content = machine.desktop().shareableContent();
    const Sources sources{content.displays, recordableWindows(content.windows, ownIdentifier(content)),
                          DeviceRecorder::availableDevices(machine.devices())};
    if (arguments.has("--json")) {
        writeSources(sources, out);
    } else {
        printSources(sources, out);
    }
}

}  // namespace

constinit const Verb kSourcesVerb = {
    "sources", "", "Listet Bildschirme, Fenster und Geräte auf, die sich aufnehmen lassen.", kOptions, run};

}  // namespace lumivastor
