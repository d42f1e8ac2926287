// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/sources.h"

#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/formatted.h"
#include "capture/source_listing.h"
#include "model/json_writer.h"

namespace lumivastor::cli {

namespace {

void writeFrame(model::JsonWriter& writer, const Rect& frame) {
    writer.key("x");
    writer.number(frame.x);
    writer.key("y");
    writer.number(frame.y);
    writer.key("width");
    writer.number(frame.width);
    writer.key("height");
    writer.number(frame.height);
}

void writeDisplays(model::JsonWriter& writer, const std::vector<platform::Display>& displays) {
    writer.beginArray();
    for (std::size_t i = 0; i < displays.size(); ++i) {
        const platform::Display& display = displays[i];
        writer.beginObject();
        writer.key("index");
        writer.integer(static_cast<std::int64_t>(i));
        writer.key("id");
        writer.integer(display.id);
        writer.key("name");
        writer.text(display.name);
        writeFrame(writer, display.frame);
        writer.key("scale");
        writer.number(display.scale);
        writer.endObject();
    }
    writer.endArray();
}

void writeWindows(model::JsonWriter& writer, const std::vector<platform::Window>& windows) {
    writer.beginArray();
    for (const platform::Window& window : windows) {
        writer.beginObject();
        writer.key("id");
        writer.integer(window.id);
        writer.key("application");
        writer.text(window.application ? window.application->name.value_or("") : "");
        writer.key("title");
        writer.text(window.title.value_or(""));
        writeFrame(writer, window.frame);
        writer.endObject();
    }
    writer.endArray();
}

// One entry for each kind that the desktop's dialog offers; what it will be is not known before.
void writePicked(model::JsonWriter& writer, std::string_view numberKey, bool isOffered, std::string_view name) {
    writer.beginArray();
    if (isOffered) {
        writer.beginObject();
        writer.key(numberKey);
        writer.integer(0);
        if (!name.empty()) {
            writer.key("name");
            writer.text(name);
        }
        writer.key("chosenBy");
        writer.text("portal");
        writer.endObject();
    }
    writer.endArray();
}

void writeDevices(model::JsonWriter& writer, const std::vector<platform::CaptureDevice>& devices) {
    writer.beginArray();
    for (const platform::CaptureDevice& device : devices) {
        writer.beginObject();
        writer.key("id");
        writer.text(device.id);
        writer.key("name");
        writer.text(device.name);
        writer.endObject();
    }
    writer.endArray();
}

}  // namespace

Sources recordableSources(const platform::ShareableContent& content, std::vector<platform::CaptureDevice> devices) {
    return {content.displayRefusal ? std::vector<platform::Display>() : content.displays,
            capture::recordableWindows(content.windows, capture::ownIdentifier(content)), std::move(devices),
            content.displayRefusal};
}

void writeSources(const Sources& sources, std::ostream& out) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writer.beginObject();
    writer.key("displays");
    if (sources.picker) {
        writePicked(writer, "index", sources.picker->displays, "Bildschirm");
    } else {
        writeDisplays(writer, sources.displays);
    }
    writer.key("windows");
    if (sources.picker) {
        writePicked(writer, "id", sources.picker->windows, "");
    } else {
        writeWindows(writer, sources.windows);
    }
    writer.key("devices");
    writeDevices(writer, sources.devices);
    writer.endObject();
    writer.finish();
    out << "\n";
}

namespace {

void printPicked(const platform::ContentPicker::Offer& offer, std::ostream& out) {
    out << "Bildschirme und Fenster wählt auf diesem Desktop sein eigener Dialog.\n";
    if (offer.displays) out << "  --display 0  Bildschirm – im Dialog zu wählen\n";
    if (offer.windows) out << "  --window 0  Fenster – im Dialog zu wählen\n";
}

void printListed(const Sources& sources, std::ostream& out) {
    out << "Bildschirme\n";
    for (std::size_t i = 0; i < sources.displays.size(); ++i) {
        out << formatted("  --display %zu  ", i) << capture::displayTitle(sources.displays[i], i) << " ("
            << sources.displays[i].name << ")\n";
    }
    if (sources.displays.empty()) out << "  " << sources.displayRefusal.value_or("keine") << "\n";
    out << "\nFenster\n";
    for (const platform::Window& window : sources.windows) {
        out << formatted("  --window %u  ", window.id) << capture::windowTitle(window) << "\n";
    }
    if (sources.windows.empty()) out << "  keine\n";
}

}  // namespace

void printSources(const Sources& sources, std::ostream& out) {
    if (sources.picker) {
        printPicked(*sources.picker, out);
    } else {
        printListed(sources, out);
    }
    out << "\nGeräte\n";
    for (const platform::CaptureDevice& device : sources.devices)
        out << "  --device " << device.id << "  " << device.name << "\n";
    if (sources.devices.empty()) out << "  keine\n";
}

}  // namespace lumivastor::cli
