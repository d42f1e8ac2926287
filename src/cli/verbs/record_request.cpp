// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/record_request.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "capture/desktop_dialog.h"
#include "capture/journal/journal_records.h"

namespace lumivastor::cli {

namespace {

constexpr std::array kOptions = {
    OptionSpec{"--display", "NUMMER", "Bildschirm aus der Liste von „sources“ (sonst 0)"},
    OptionSpec{"--window", "KENNUNG", "statt eines Bildschirms dieses Fenster"},
    OptionSpec{"--region", "X,Y,B,H", "nur dieser Ausschnitt des Bildschirms, in Punkten"},
    OptionSpec{"--device", "KENNUNG", "statt eines Bildschirms dieses Gerät"},
    OptionSpec{"--out", "ORDNER", "wohin aufgenommen wird (sonst ein neuer Ordner in Movies/LumiVastor)"},
    OptionSpec{"--seconds", "S", "so lange (sonst bis Strg-C)"},
    OptionSpec{"--fps", "60|30", "Bilder in der Sekunde (sonst 60)"},
    OptionSpec{"--system-audio", "", "mit dem Ton des Rechners"},
    OptionSpec{"--microphone", "", "mit dem Mikrofon"},
    OptionSpec{"--microphone-name", "NAME", "mit diesem Mikrofon statt des Standards"},
    OptionSpec{"--webcam", "", "mit der Kamera"},
    OptionSpec{"--webcam-name", "NAME", "mit dieser Kamera statt des Standards"},
    OptionSpec{"--device-sound-name", "NAME", "das Gerät mit dem Ton dieses Eingangs statt mit seinem eigenen"},
    OptionSpec{"--no-device-sound", "", "das Gerät ohne Ton"},
    OptionSpec{"--ask", "", "zeigt den Dialog des Desktops auch dann, wenn eine frühere Auswahl noch gilt"},
    OptionSpec{"--json", "", "das Ergebnis als JSON-Dokument"},
};

std::optional<std::uint32_t> wholeNumber(const Arguments& arguments, std::string_view option) {
    const auto text = arguments.value(option);
    if (!text) return std::nullopt;
    std::uint32_t number = 0;
    const char* const end = text->data() + text->size();
    const auto result = std::from_chars(text->data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw UsageError(std::string(option) + " erwartet eine ganze Zahl, nicht „" + *text + "“.");
    }
    return number;
}

int fpsFrom(const Arguments& arguments) {
    const std::string text = arguments.value("--fps").value_or("60");
    if (text == "60") return 60;
    if (text == "30") return 30;
    throw UsageError("--fps ist 60 oder 30.");
}

std::optional<Rect> regionFrom(const Arguments& arguments) {
    if (!arguments.has("--region")) return std::nullopt;
    const std::vector<double> numbers = arguments.numbers("--region");
    if (numbers.size() != 4 || !(numbers[2] > 0) || !(numbers[3] > 0)) {
        throw UsageError("--region erwartet vier Zahlen: X,Y,BREITE,HÖHE.");
    }
    return Rect{numbers[0], numbers[1], numbers[2], numbers[3]};
}

void requireOneSource(const Arguments& arguments) {
    const bool hasDisplay = arguments.has("--display") || arguments.has("--region");
    const int sources =
        (hasDisplay ? 1 : 0) + (arguments.has("--window") ? 1 : 0) + (arguments.has("--device") ? 1 : 0);
    if (sources > 1) throw UsageError("Aufgenommen wird entweder ein Bildschirm, ein Fenster oder ein Gerät.");
}

}  // namespace

constinit const std::span<const OptionSpec> kRecordOptions = kOptions;

RecordRequest parseRecordRequest(const Arguments& arguments) {
    if (!arguments.positional().empty()) throw UsageError("Zu viele Angaben: " + arguments.positional().front());
    requireOneSource(arguments);
    RecordRequest request;
    request.displayIndex = wholeNumber(arguments, "--display").value_or(0);
    request.windowID = wholeNumber(arguments, "--window");
    request.region = regionFrom(arguments);
    request.deviceID = arguments.value("--device");
    if (const auto out = arguments.value("--out")) request.out = *out;
    if (const auto seconds = arguments.value("--seconds")) {
        request.seconds = parseNumber(*seconds);
        if (!request.seconds || !(*request.seconds > 0)) throw UsageError("--seconds erwartet eine Zahl über 0.");
    }
    request.fps = fpsFrom(arguments);
    request.systemAudio = arguments.has("--system-audio");
    request.microphoneName = arguments.value("--microphone-name");
    request.webcamName = arguments.value("--webcam-name");
    request.microphone = arguments.has("--microphone") || request.microphoneName;
    request.webcam = arguments.has("--webcam") || request.webcamName;
    request.deviceSoundName = arguments.value("--device-sound-name");
    request.deviceSound = !arguments.has("--no-device-sound");
    if (request.deviceSoundName || !request.deviceSound) {
        if (!request.deviceID) throw UsageError("Den Ton eines Geräts wählt man mit „--device“.");
        if (!request.deviceSound && request.deviceSoundName) {
            throw UsageError("Entweder „--device-sound-name“ oder „--no-device-sound“.");
        }
    }
    request.asksAgain = arguments.has("--ask");
    return request;
}

capture::CaptureSource sourceFor(const RecordRequest& request, const platform::ShareableContent& content,
                                 bool isPicked) {
    if (request.windowID && isPicked && !content.windows.empty()) {
        return capture::WindowSource{content.windows.front()};
    }
    if (request.windowID) {
        if (const platform::Window* window = content.window(*request.windowID)) return capture::WindowSource{*window};
        throw RecorderError(formatted("Es gibt kein Fenster mit der Kennung %u.", *request.windowID));
    }
    // Checked before the index, because the list of displays may be empty for the same reason.
    if (content.displayRefusal) throw RecorderError(*content.displayRefusal);
    if (request.displayIndex >= content.displays.size()) {
        throw RecorderError(formatted("Es gibt keinen Bildschirm mit der Nummer %zu.", request.displayIndex));
    }
    const platform::Display& display = content.displays[request.displayIndex];
    if (request.region) return capture::RegionSource{display, *request.region};
    return capture::DisplaySource{display};
}

platform::ContentPicker::Request pickFor(const RecordRequest& request, const platform::ContentPicker::Offer& offer) {
    using Kind = platform::ContentPicker::Kind;
    if (request.displayIndex != 0 || request.windowID.value_or(0) != 0) {
        throw RecorderError(
            "Bildschirme und Fenster wählt auf diesem Desktop sein eigener Dialog: Es gibt nur „--display 0“ und "
            "„--window 0“.");
    }
    const Kind kind = request.windowID ? Kind::window : Kind::display;
    if (const auto refusal = capture::dialogRefusal(kind, offer)) throw RecorderError(*refusal);
    return {kind, request.asksAgain, request.fps, ""};
}

platform::CaptureDevice deviceFor(const std::string& id, const std::vector<platform::CaptureDevice>& devices) {
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&id](const platform::CaptureDevice& each) { return each.id == id; });
    if (found == devices.end()) throw RecorderError("Es gibt kein Gerät mit der Kennung „" + id + "“.");
    return *found;
}

std::string namedDevice(const std::string& name, const std::string& kind,
                        const std::vector<platform::CaptureDevice>& devices) {
    std::string all;
    for (const platform::CaptureDevice& each : devices) {
        if (each.name == name || each.lastingId() == name || each.id == name) return each.lastingId();
        all += (all.empty() ? "" : ", ") + ("„" + each.name + "“");
    }
    throw RecorderError("Es gibt " + kind + " „" + name + "“ nicht. " +
                        (all.empty() ? "Angeschlossen ist nichts." : "Angeschlossen: " + all + "."));
}

void requireNoRecording(const std::filesystem::path& folder) {
    for (const char* name : {"source.mov", "capture.json", capture::kJournalName}) {
        std::error_code ignored;
        if (std::filesystem::exists(folder / name, ignored)) {
            throw RecorderError("In „" + folder.string() + "“ liegt schon eine Aufnahme.");
        }
    }
}

}  // namespace lumivastor::cli
