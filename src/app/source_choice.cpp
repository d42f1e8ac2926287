// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/source_choice.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/formatted.h"
#include "capture/desktop_dialog.h"
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

std::string chosenTitle(const platform::ContentPicker::Content& content) {
    const auto* display = std::get_if<platform::Display>(&content);
    if (display == nullptr) return "Fenster gewählt – ändern …";
    const Rect pixels = display->pixelFrame();
    const std::string name = display->name.empty() ? "" : display->name + ", ";
    return "Gewählt: " + name + formatted("%.0f×%.0f px", pixels.width, pixels.height) + " – ändern …";
}

SourcePopup pickerPopup(SourceType type, const platform::ContentPicker::Offer& offer,
                        const std::optional<platform::ContentPicker::Content>& chosen) {
    SourcePopup popup;
    popup.chooseTitle = type == SourceType::window ? "Fenster wählen …" : "Bildschirm wählen …";
    if (auto refusal = capture::dialogRefusal(pickedKind(type), offer)) {
        popup.status = *std::move(refusal);
        return popup;
    }
    const bool isChosen = chosen && isOfKind(*chosen, pickedKind(type));
    if (isChosen) popup.chooseTitle = chosenTitle(*chosen);
    if (type == SourceType::region) {
        popup.status = "Bereit. Nach dem Start ziehst du den Ausschnitt auf einem Bild des Bildschirms auf.";
    } else if (isChosen) {
        popup.status = "Bereit.";
    } else if (offer.restores) {
        popup.status = "Bereit. Beim ersten Mal fragt der Desktop, danach gilt die letzte Wahl.";
    } else {
        popup.status = "Bereit. Nach dem Start fragt der Desktop, was aufgenommen wird.";
    }
    if (const auto remark = capture::pointerRemark(offer.pointer)) popup.status += "\n" + *remark;
    return popup;
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

platform::ContentPicker::Kind pickedKind(SourceType type) {
    return type == SourceType::window ? platform::ContentPicker::Kind::window : platform::ContentPicker::Kind::display;
}

bool isOfKind(const platform::ContentPicker::Content& content, platform::ContentPicker::Kind kind) {
    return std::holds_alternative<platform::Display>(content) == (kind == platform::ContentPicker::Kind::display);
}

SourcePopup sourcePopup(SourceType type, const SourceLists& lists,
                        const std::optional<platform::ContentPicker::Content>& chosen) {
    if (lists.picker && type != SourceType::device) return pickerPopup(type, *lists.picker, chosen);
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

SourcePopup deniedSourcePopup() {
    // The plain quotation mark at the end of the third line is intended.
    return {{"keine Berechtigung"},
            "Die Bildschirmaufnahme ist noch nicht erlaubt.\n"
            "Systemeinstellungen → Datenschutz & Sicherheit → Bildschirmaufnahme,\n"
            "dort „LumiVastor\" aktivieren und die App neu starten."};
}

SourcePopup missingDialogPopup(const std::string& reason) {
    return {{"nicht möglich"}, reason};
}

std::optional<platform::Display> displayOf(const capture::CaptureSource& source,
                                           const std::vector<platform::Display>& displays) {
    const auto found =
        std::find_if(displays.begin(), displays.end(),
                     [id = displayID(source)](const platform::Display& display) { return display.id == id; });
    return found == displays.end() ? std::nullopt : std::optional(*found);
}

}  // namespace lumivastor::app
