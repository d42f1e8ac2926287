// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// The editor's commands, as a table with one entry for each. The menu bar, the keys and the page of keys are made from
// it, and a test holds the manual against it.

namespace lumivastor::editor {

enum class Command {
    newRecording,
    render,
    exportAs,
    showExports,
    prepareFilms,
    reveal,
    close,
    undo,
    redo,
    deleteSelected,
    setTrimStart,
    setTrimEnd,
    resetTrim,
    markCut,
    removeLastCut,
    shortenIdle,
    addZoom,
    showZoom,
    editFocus,
    resetZooms,
    drawMask,
    removeLastMask,
    removeAllMasks,
    selectNext,
    applyLook,
    saveLook,
    deleteLook,
    makeStandardLook,
    takeSettings,
    enlargeTimeline,
    shrinkTimeline,
    showWholeTimeline,
    showSelection,
    fullScreen,
    togglePlayback,
    playForward,
    stop,
    playBackward,
    frameBack,
    frameForward,
    secondBack,
    secondForward,
    toStart,
    toEnd,
    toPreviousPlace,
    toNextPlace,
    showKeys,
};

enum class CommandMenu { file, edit, look, view, playback, help };

struct CommandEntry {
    Command command;
    CommandMenu menu;
    /// German; `commandTitle` has the title in a state.
    std::string_view title;
    /// Up to two keys, the usual one first, in the form of `keyText`; empty means none.
    std::array<std::string_view, 2> keys = {};
    /// The first of a group: the menu has a line above it.
    bool beginsGroup = false;
    /// A key that is held down repeats the command.
    bool repeats = false;
    /// A slider or a list that has the keyboard uses these keys itself.
    bool yieldsToControls = false;
    /// It turns something on and off: the item has a check mark (`isChecked`).
    bool isSwitch = false;
};

/// All commands in the order of the menus; commands of one menu follow each other.
std::span<const CommandEntry> commandTable();

const CommandEntry& commandEntry(Command command);

/// The German title of a menu.
std::string_view menuTitle(CommandMenu menu);

/// A key that belongs to no command, or to several.
struct OtherKey {
    std::string_view keys;  // German
    std::string_view text;
};

/// What else the page of keys lists.
std::span<const OtherKey> otherKeys();

/// A key as German keyboards name it: "Strg+Umschalt+Z" for "Ctrl+Shift+Z", "←" for "Left". The table names keys in
/// English: modifiers in the order Ctrl, Shift, then a letter, a digit, a sign, or a name such as "Space".
std::string keyText(std::string_view key);

/// The command with this key; nullopt if there is none.
std::optional<Command> commandWithKey(std::string_view key);

/// What decides whether commands can be used, and what they are called.
struct CommandState {
    std::string undoName, redoName;  // empty: nothing to undo or to redo
    bool isRendering = false;
    bool hasVideo = false;      // rendered since the window opened
    bool hasSelection = false;  // something that can be deleted
    bool hasPendingCut = false;
    bool hasCuts = false;
    bool hasZooms = false;
    bool hasManualZooms = false;
    bool isEditingFocus = false;
    bool hasMasks = false;
    bool isDrawingMask = false;
    bool isPlaying = false;
    bool isFullScreen = false;
    bool hasLooks = false;       // saved ones, which can be deleted
    bool preparesFilms = false;  // in the background

    bool operator==(const CommandState&) const = default;
};

bool isEnabled(Command command, const CommandState& state);

/// Whether what a switch turns on is on; false for every other command.
bool isChecked(Command command, const CommandState& state);

/// "Rückgängig: Zoom verschieben", "Anhalten".
std::string commandTitle(Command command, const CommandState& state);

}  // namespace lumivastor::editor
