// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/doctor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <system_error>

#include "base/formatted.h"
#include "base/pixel_size.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "capture/capture_plan.h"
#include "capture/live_video.h"
#include "model/json_writer.h"

namespace lumivastor::cli {

namespace {

// Examines one service: `look` returns the finding, or throws the fault, to which the advice is appended.
Check check(const std::string& name, bool isNeeded, const std::string& advice,
            const std::function<std::string()>& look) {
    try {
        return {name, true, look(), isNeeded};
    } catch (const std::exception& error) {
        return {name, false, advice.empty() ? error.what() : error.what() + (" " + advice), isNeeded};
    }
}

std::string describeDisplays(const std::vector<platform::Display>& displays) {
    std::string text = displays.size() == 1 ? "Ein Bildschirm: " : formatted("%zu Bildschirme: ", displays.size());
    for (const platform::Display& display : displays) {
        const Rect pixels = display.pixelFrame();
        if (&display != &displays.front()) text += ", ";
        text +=
            formatted("%s mit %ld×%ld px", display.name.c_str(), std::lround(pixels.width), std::lround(pixels.height));
    }
    return text + ".";
}

std::string describeSystemAudio(platform::SoundSystem& sound) {
    const auto source = sound.systemAudio(48000, 2);
    source->start([](const platform::SoundBuffer&) {}, [](const std::string&) {});
    source->stop();
    return "Der Ton des Rechners lässt sich aufnehmen.";
}

// The size that a recording would have: that of the first display.
media::EncodingJob jobFor(const std::vector<platform::Display>& displays) {
    PixelSize size{1920, 1080};
    if (!displays.empty()) {
        size = capture::evenPixelSize({displays.front().frame.width, displays.front().frame.height},
                                      displays.front().scale);
    }
    return {size.width, size.height, 60, capture::averageBitRate(size.width, size.height, 60)};
}

std::string describeFolder(const std::filesystem::path& root) {
    std::error_code error;
    makePrivateFolder(root, error);
    std::string probe = (root / ".probe-XXXXXX").string();
    if (!error && mkdtemp(probe.data()) == nullptr) error = {errno, std::generic_category()};
    if (error) {
        throw RecorderError("In „" + root.string() + "“ lässt sich nicht schreiben: " + systemErrorText(error) + ".");
    }
    std::filesystem::remove(probe, error);
    return "Aufnahmen liegen in „" + root.string() + "“.";
}

std::string describeSpace(const std::optional<capture::FreeSpace>& space, const media::EncodingJob& job) {
    if (!space) return "Der freie Platz ist nicht bekannt.";
    const capture::SpaceNeed need{static_cast<double>(job.averageBitRate) / 8, 0};
    const double gigabytes = static_cast<double>(space->available) / 1e9;
    if (capture::mustStop(*space, need)) throw RecorderError(formatted("Nur %.2f GB sind frei.", gigabytes));
    const std::uint64_t usable = space->available - capture::requiredSpace(need, space->capacity);
    return formatted("%.1f GB sind frei, genug für mindestens %.0f Minuten.", gigabytes,
                     static_cast<double>(usable) / need.bytesPerSecond / 60);
}

std::string describeOffer(const platform::ContentPicker::Offer& offer) {
    std::string text = "Der Desktop gibt über seinen eigenen Dialog ";
    if (offer.displays && offer.windows) {
        text += "Bildschirme und Fenster";
    } else if (offer.displays) {
        text += "Bildschirme";
    } else if (offer.windows) {
        text += "Fenster";
    } else {
        throw RecorderError("Der Desktop gibt weder Bildschirme noch Fenster frei.");
    }
    return text + (offer.restores ? " frei und merkt sich die Auswahl." : " frei.");
}

std::string describePointer(platform::PointerKnowledge pointer) {
    switch (pointer) {
        case platform::PointerKnowledge::complete:
        case platform::PointerKnowledge::positions:
            return "Der Desktop meldet, wo der Mauszeiger ist und wie er aussieht.";
        case platform::PointerKnowledge::embedded:
            throw RecorderError("Der Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild.");
        case platform::PointerKnowledge::none:
            break;
    }
    throw RecorderError("Der Desktop verrät nicht, wo der Mauszeiger ist; er fehlt in Aufnahmen.");
}

std::string describeClicks(const platform::ContentPicker::Offer& offer) {
    switch (offer.pointer) {
        case platform::PointerKnowledge::complete:
            return "Klicks und Mausrad lassen sich sehen.";
        case platform::PointerKnowledge::positions:
            throw RecorderError(offer.clickRefusal);
        case platform::PointerKnowledge::embedded:
        case platform::PointerKnowledge::none:
            break;
    }
    throw RecorderError("Ohne zu wissen, wo der Mauszeiger ist, lassen sich auch Klicks nicht aufzeichnen.");
}

// What a desktop whose own dialog chooses can tell.
void examinePicker(platform::Desktop& desktop, platform::ContentPicker& picker, std::vector<Check>& checks) {
    platform::ContentPicker::Offer offer;
    checks.back() = check("display", true, "", [&] {
        offer = picker.offer();
        return describeOffer(offer);
    });
    if (!checks.back().ok) return;
    checks.push_back(check("pointer", false, "Zooms lassen sich im Editor von Hand setzen.",
                           [&] { return describePointer(offer.pointer); }));
    checks.push_back(check("clicks", false, "", [&] { return describeClicks(offer); }));
    checks.push_back(check("shortcut", false, "Richte in seinen Einstellungen eines für „lumivastor stop“ ein.", [&] {
        if (!desktop.offersShortcuts()) throw RecorderError(platform::kNoShortcuts);
        return std::string("Der Desktop gibt Programmen Tastenkürzel; die Tasten legt sein eigener Dialog fest.");
    }));
}

}  // namespace

std::vector<Check> examine(const Examined& machine) {
    std::vector<Check> checks;
    std::vector<platform::Display> displays;
    std::optional<platform::ShareableContent> content;
    platform::Desktop* answering = nullptr;
    platform::ContentPicker* picker = nullptr;
    checks.push_back(
        check("display", true,
              "LumiVastor braucht einen X11-Bildschirm, den die Umgebungsvariable DISPLAY nennt, oder einen "
              "Wayland-Desktop mit Portal.",
              [&] {
                  platform::Desktop& desktop = machine.desktop();
                  content = desktop.shareableContent();
                  answering = &desktop;
                  picker = desktop.contentPicker();
                  return std::string("Der Bildschirmdienst antwortet.");
              }));
    if (content && content->displayRefusal) checks.back() = {"display", false, *content->displayRefusal, true};
    if (content && picker != nullptr) {
        examinePicker(*answering, *picker, checks);
    } else {
        checks.push_back(check("screens", true, "Ohne Bildschirm gibt es nichts aufzunehmen.", [&] {
            if (content) displays = content->displays;
            if (displays.empty()) throw RecorderError("Kein Bildschirm gefunden.");
            return describeDisplays(displays);
        }));
    }
    checks.push_back(check("sound", false, "Ohne Tondienst (PipeWire oder PulseAudio) bleibt die Aufnahme stumm.",
                           [&] { return describeSystemAudio(machine.sound()); }));
    checks.push_back(check("microphone", false, "Schließ eines an, um mitzusprechen.", [&] {
        const auto microphone = machine.sound().defaultMicrophone();
        if (!microphone) throw RecorderError("Kein Mikrofon gefunden.");
        return "Mikrofon: " + microphone->name + ".";
    }));
    checks.push_back(check("camera", false, "Ohne Kamera entfällt nur das Kamerabild.", [&] {
        const auto camera = machine.devices().defaultCamera();
        if (!camera) throw RecorderError("Es wurde keine Kamera gefunden.");
        return "Kamera: " + camera->name + ".";
    }));
    const media::EncodingJob job = jobFor(displays);
    checks.push_back(check("encoder", true, "Installiere FFmpeg mit libx264.", [&] {
        const media::EncoderChoice choice = machine.chooseEncoder(job);
        return formatted("%d×%d mit %s: ", job.width, job.height, choice.candidate.encoder.c_str()) + choice.reason;
    }));
    checks.push_back(check("folder", true, "Gib dir Schreibrechte auf diesen Ordner.",
                           [&] { return describeFolder(machine.recordingsRoot); }));
    checks.push_back(check("space", true, "Räume den Datenträger auf.",
                           [&] { return describeSpace(machine.freeSpace(machine.recordingsRoot), job); }));
    return checks;
}

bool canRecordScreens(const std::vector<Check>& checks) {
    return std::all_of(checks.begin(), checks.end(), [](const Check& each) { return each.ok || !each.isNeeded; });
}

void writeChecks(const std::vector<Check>& checks, std::ostream& out) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writer.beginObject();
    writer.key("checks");
    writer.beginArray();
    for (const Check& each : checks) {
        writer.beginObject();
        writer.key("name");
        writer.text(each.name);
        writer.key("ok");
        writer.boolean(each.ok);
        writer.key("detail");
        writer.text(each.detail);
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
    writer.finish();
    out << "\n";
}

void printChecks(const std::vector<Check>& checks, std::ostream& out) {
    for (const Check& each : checks) {
        out << (each.ok ? "  ✓ " : each.isNeeded ? "  ✗ " : "  – ") << each.detail << "\n";
    }
}

}  // namespace lumivastor::cli
