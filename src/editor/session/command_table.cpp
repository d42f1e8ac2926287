// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/command_table.h"

#include <algorithm>
#include <cstddef>

#include "base/precondition.h"

namespace lumivastor::editor {

namespace {

using C = Command;
using M = CommandMenu;

constexpr auto kCommands = std::to_array<CommandEntry>({
    {C::newRecording, M::file, "Neue Aufnahme …", {"Ctrl+N"}},
    {.command = C::render, .menu = M::file, .title = "Video rendern", .beginsGroup = true},
    {C::exportAs, M::file, "Exportieren als …", {"Ctrl+Shift+E"}},
    {C::showExports, M::file, "Exporte", {"Ctrl+E"}},
    {C::reveal, M::file, "Im Finder zeigen"},
    {.command = C::prepareFilms,
     .menu = M::file,
     .title = "Im Hintergrund vorbereiten",
     .beginsGroup = true,
     .isSwitch = true},
    {.command = C::close, .menu = M::file, .title = "Editor schließen", .keys = {"Ctrl+W"}, .beginsGroup = true},

    {.command = C::undo, .menu = M::edit, .title = "Rückgängig", .keys = {"Ctrl+Z"}, .repeats = true},
    {.command = C::redo, .menu = M::edit, .title = "Wiederholen", .keys = {"Ctrl+Y", "Ctrl+Shift+Z"}, .repeats = true},
    {.command = C::deleteSelected,
     .menu = M::edit,
     .title = "Auswahl löschen",
     .keys = {"Delete"},
     .beginsGroup = true},
    {.command = C::selectNext, .menu = M::edit, .title = "Nächstes Element der Vorschau wählen", .keys = {"E"}},
    {.command = C::setTrimStart, .menu = M::edit, .title = "Anfang = hier", .keys = {"I"}, .beginsGroup = true},
    {C::setTrimEnd, M::edit, "Ende = hier", {"O"}},
    {C::resetTrim, M::edit, "Ganze Aufnahme"},
    {.command = C::markCut, .menu = M::edit, .title = "Schnitt von hier", .keys = {"C"}, .beginsGroup = true},
    {C::removeLastCut, M::edit, "Letzten Schnitt entfernen"},
    {C::shortenIdle, M::edit, "Leerlauf kürzen …"},
    {.command = C::addZoom, .menu = M::edit, .title = "Zoom hier hinzufügen", .beginsGroup = true},
    {C::showZoom, M::edit, "Zoom anzeigen"},
    {C::editFocus, M::edit, "Ausschnitt des Zooms ändern", {"F"}},
    {C::resetZooms, M::edit, "Zooms automatisch"},
    {.command = C::drawMask, .menu = M::edit, .title = "Bereich zum Verpixeln aufziehen", .beginsGroup = true},
    {C::removeLastMask, M::edit, "Letzten Bereich entfernen"},
    {C::removeAllMasks, M::edit, "Alle Bereiche entfernen"},

    {C::applyLook, M::look, "Look anwenden"},
    {C::saveLook, M::look, "Look sichern …"},
    {C::deleteLook, M::look, "Look löschen …"},
    {.command = C::makeStandardLook, .menu = M::look, .title = "Als Standard für neue Aufnahmen", .beginsGroup = true},
    {.command = C::takeSettings, .menu = M::look, .title = "Einstellungen übernehmen von …", .beginsGroup = true},

    {.command = C::enlargeTimeline, .menu = M::view, .title = "Zeitleiste vergrößern", .keys = {"+"}, .repeats = true},
    {.command = C::shrinkTimeline, .menu = M::view, .title = "Zeitleiste verkleinern", .keys = {"-"}, .repeats = true},
    {C::showWholeTimeline, M::view, "Ganze Zeitleiste", {"0"}},
    {C::showSelection, M::view, "Auswahl in der Zeitleiste", {"1"}},
    {.command = C::fullScreen, .menu = M::view, .title = "Vorschau im Vollbild", .keys = {"F11"}, .beginsGroup = true},

    {C::togglePlayback, M::playback, "Abspielen", {"Space"}},
    {.command = C::playForward, .menu = M::playback, .title = "Vorwärts, dann schneller", .keys = {"L"}},
    {C::stop, M::playback, "Stehen bleiben", {"K"}},
    {C::playBackward, M::playback, "Rückwärts, dann schneller", {"J"}},
    {.command = C::frameBack,
     .menu = M::playback,
     .title = "1 Bild zurück",
     .keys = {"Left"},
     .beginsGroup = true,
     .repeats = true},
    {.command = C::frameForward, .menu = M::playback, .title = "1 Bild vor", .keys = {"Right"}, .repeats = true},
    {.command = C::secondBack,
     .menu = M::playback,
     .title = "1 Sekunde zurück",
     .keys = {"Shift+Left"},
     .repeats = true},
    {.command = C::secondForward,
     .menu = M::playback,
     .title = "1 Sekunde vor",
     .keys = {"Shift+Right"},
     .repeats = true},
    {.command = C::toStart,
     .menu = M::playback,
     .title = "Zum Anfang",
     .keys = {"Home"},
     .beginsGroup = true,
     .yieldsToControls = true},
    {.command = C::toEnd, .menu = M::playback, .title = "Zum Ende", .keys = {"End"}, .yieldsToControls = true},
    {.command = C::toPreviousPlace,
     .menu = M::playback,
     .title = "Voriger Zoom, Schnitt oder Klick",
     .keys = {"Up"},
     .repeats = true,
     .yieldsToControls = true},
    {.command = C::toNextPlace,
     .menu = M::playback,
     .title = "Nächster Zoom, Schnitt oder Klick",
     .keys = {"Down"},
     .repeats = true,
     .yieldsToControls = true},

    {C::showKeys, M::help, "Alle Tasten", {"?", "F1"}},
});

constexpr OtherKey kOtherKeys[] = {
    {"Tabulator, Eingabetaste", "Geht durch die Bedienelemente, drückt das gewählte"},
    {"Esc", "Nimmt ein Ziehen zurück; beendet Aufziehen, Auswahl und Vollbild"},
    {"Eingabetaste", "Setzt beim Aufziehen einen Bereich in die Mitte"},
    {"← → ↑ ↓", "Verschiebt, was in der Vorschau gewählt ist, um 1 Pixel; mit Umschalt um 10"},
    {"Strg+← → ↑ ↓", "Ändert dessen Größe um 1 Pixel; mit Umschalt um 10"},
    {"Zeitleiste: Strg+↑ ↓", "Wählt den Zoom oder Schnitt davor oder danach"},
    {"Zeitleiste: Strg+← →", "Verschiebt den gewählten Zoom oder Schnitt um ein Bild"},
    {"Zeitleiste: Alt+← →", "Verschiebt sein Ende um ein Bild; mit Umschalt seinen Anfang"},
    {"Strg+Mausrad", "Vergrößert und verkleinert die Zeitleiste um den Mauszeiger"},
};

struct KeyName {
    std::string_view name;
    std::string_view german;
};
constexpr KeyName kKeyNames[] = {
    {"Ctrl", "Strg"}, {"Shift", "Umschalt"}, {"Space", "Leertaste"}, {"Delete", "Entf"}, {"Home", "Pos1"},
    {"End", "Ende"},  {"Left", "←"},         {"Right", "→"},         {"Up", "↑"},        {"Down", "↓"},
    {"-", "−"}};

std::string named(std::string_view title, const std::string& step) {
    return step.empty() ? std::string(title) : std::string(title) + ": " + step;
}

}  // namespace

std::span<const CommandEntry> commandTable() {
    return kCommands;
}

const CommandEntry& commandEntry(Command command) {
    const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                    [command](const CommandEntry& entry) { return entry.command == command; });
    precondition(found != kCommands.end(), "every command has an entry");
    return *found;
}

std::string_view menuTitle(CommandMenu menu) {
    switch (menu) {
        case CommandMenu::file:
            return "Datei";
        case CommandMenu::edit:
            return "Bearbeiten";
        case CommandMenu::look:
            return "Look";
        case CommandMenu::view:
            return "Ansicht";
        case CommandMenu::playback:
            return "Wiedergabe";
        case CommandMenu::help:
            return "Hilfe";
    }
    return {};
}

std::span<const OtherKey> otherKeys() {
    return kOtherKeys;
}

std::string keyText(std::string_view key) {
    std::string text;
    while (!key.empty()) {
        // The key itself may be the plus sign.
        const std::size_t plus = key.find('+', 1);
        const std::string_view part = key.substr(0, plus);
        const auto* name = std::find_if(std::begin(kKeyNames), std::end(kKeyNames),
                                        [part](const KeyName& each) { return each.name == part; });
        text += name == std::end(kKeyNames) ? part : name->german;
        if (plus == std::string_view::npos) break;
        text += '+';
        key.remove_prefix(plus + 1);
    }
    return text;
}

std::optional<Command> commandWithKey(std::string_view key) {
    if (key.empty()) return std::nullopt;
    for (const CommandEntry& entry : kCommands) {
        if (std::find(entry.keys.begin(), entry.keys.end(), key) != entry.keys.end()) return entry.command;
    }
    return std::nullopt;
}

bool isEnabled(Command command, const CommandState& state) {
    switch (command) {
        case Command::render:
            return !state.isRendering;
        case Command::reveal:
            return state.hasVideo;
        case Command::undo:
            return !state.undoName.empty();
        case Command::redo:
            return !state.redoName.empty();
        case Command::deleteSelected:
            return state.hasSelection;
        case Command::removeLastCut:
            return state.hasCuts;
        case Command::showZoom:
        case Command::editFocus:
            return state.hasZooms;
        case Command::resetZooms:
            return state.hasManualZooms;
        case Command::deleteLook:
            return state.hasLooks;
        case Command::removeLastMask:
        case Command::removeAllMasks:
            return state.hasMasks;
        default:
            return true;
    }
}

bool isChecked(Command command, const CommandState& state) {
    return command == Command::prepareFilms && state.preparesFilms;
}

std::string commandTitle(Command command, const CommandState& state) {
    const std::string_view title = commandEntry(command).title;
    switch (command) {
        case Command::undo:
            return named(title, state.undoName);
        case Command::redo:
            return named(title, state.redoName);
        case Command::togglePlayback:
            return state.isPlaying ? "Anhalten" : std::string(title);
        case Command::markCut:
            return state.hasPendingCut ? "Schnitt bis hier" : std::string(title);
        case Command::drawMask:
            return state.isDrawingMask ? "Aufziehen abbrechen" : std::string(title);
        case Command::editFocus:
            return state.isEditingFocus ? "Zoom wieder zeigen" : std::string(title);
        case Command::fullScreen:
            return state.isFullScreen ? "Vollbild verlassen" : std::string(title);
        default:
            return std::string(title);
    }
}

}  // namespace lumivastor::editor
