// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/source_choice.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "capture/source_listing.h"

namespace lumivastor::app {

namespace {

std::uint32_t displayID(const capture::CaptureSource& source) {
    if (const auto* display = std::get_if<capture::DisplaySource>(&source)) return display->display.id;
    if (const auto* region = std::get_if<capture::RegionSource>(&source)) return region->display.id;
    return std::get<capture::WindowSource>(source).window.displayID;
}

SourcePopup windowPopup(const std::vector<platform::Window>& windows) {
    SourcePopup popup;
    for (const platform::Window& window : windows) popup.items.push_back(capture::windowTitle(window));
    popup.status = windows.empty()
                       ? "Kein aufnehmbares Fenster gefunden - Liste mit ↻ aktualisieren."
                       : "Bereit. " + std::to_string(windows.size()) + " Fenster gefunden (↻ aktualisiert die Liste).";
    return popup;
}

SourcePopup displayPopup(const SourceLists& lists, const std::string& readyStatus) {
    const std::vector<platform::Display>& displays = lists.displays;
    SourcePopup popup;
    for (std::size_t i = 0; i < displays.size(); ++i) popup.items.push_back(capture::displayTitle(displays[i], i));
    popup.status = lists.displayRefusal.value_or(displays.empty() ? "Kein Bildschirm gefunden." : readyStatus);
    return popup;
}

// What the user clicks on is decided in the desktop's dialog.
SourcePopup pickerPopup(SourceType type, const platform::ContentPicker::Offer& offer) {
    if (auto refusal = pickerRefusal(type, offer)) return {{}, *std::move(refusal)};
    return {{type == SourceType::window ? "Fenster wählen …" : "Bildschirm wählen …"},
            "Bereit. Nach dem Start wählst du im Dialog des Desktops."};
}

SourcePopup devicePopup(const std::vector<platform::CaptureDevice>& devices) {
    SourcePopup popup;
    for (const platform::CaptureDevice& device : devices) popup.items.push_back(device.name);
    popup.status = "Bereit. Hinweis: Vom iPhone gibt es keine Klick-Daten - Zooms setzt du im Editor von Hand.";
    return popup;
}

}  // namespace

SourceLists sourceLists(const platform::ShareableContent& content, std::vector<platform::CaptureDevice> devices) {
    const platform::RunningApplication self{getpid(), capture::kOwnBundleIdentifier, "LumiVastor"};
    return {content.displays, capture::recordableWindows(content.windows, capture::ownIdentifier(content)),
            std::move(devices), content.ownApplication.value_or(self), content.displayRefusal};
}

SourcePopup sourcePopup(SourceType type, const SourceLists& lists) {
    if (lists.picker && type != SourceType::device) return pickerPopup(type, *lists.picker);
    switch (type) {
        case SourceType::window:
            return windowPopup(lists.windows);
        case SourceType::display:
            return displayPopup(lists, "Bereit. " + std::to_string(lists.displays.size()) + " Bildschirm(e) gefunden.");
        case SourceType::region:
            return displayPopup(lists, "Bereit. Nach dem Start ziehst du den Ausschnitt mit der Maus auf.");
        case SourceType::device:
            return devicePopup(lists.devices);
    }
    return {};
}

std::optional<std::string> pickerRefusal(SourceType type, const platform::ContentPicker::Offer& offer) {
    if (type == SourceType::region) {
        return "Einen Ausschnitt nimmt auf diesem Desktop bisher nur die Kommandozeile auf: „lumivastor record "
               "--region“.";
    }
    if (type == SourceType::window && !offer.windows) {
        return "Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster.";
    }
    if (type == SourceType::display && !offer.displays) {
        return "Dieser Desktop gibt nur einzelne Fenster frei, keine ganzen Bildschirme.";
    }
    return std::nullopt;
}

SourcePopup deniedSourcePopup() {
    // The plain quotation mark at the end of the third line is intended.
    return {{"keine Berechtigung"},
            "Die Bildschirmaufnahme ist noch nicht erlaubt.\n"
            "Systemeinstellungen → Datenschutz & Sicherheit → Bildschirmaufnahme,\n"
            "dort „LumiVastor\" aktivieren und die App neu starten."};
}

std::optional<platform::Display> displayOf(const capture::CaptureSource& source,
                                           const std::vector<platform::Display>& displays) {
    const auto found =
        std::find_if(displays.begin(), displays.end(),
                     [id = displayID(source)](const platform::Display& display) { return display.id == id; });
    return found == displays.end() ? std::nullopt : std::optional(*found);
}

}  // namespace lumivastor::app
