// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/command_table.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace lumivastor::editor {
namespace {

TEST(CommandTable, EveryCommandStandsInItOnceAndMenusAreNotSplit) {
    std::set<Command> commands;
    std::vector<CommandMenu> menus;
    for (const CommandEntry& entry : commandTable()) {
        EXPECT_TRUE(commands.insert(entry.command).second) << entry.title;
        EXPECT_EQ(&commandEntry(entry.command), &entry);
        EXPECT_FALSE(entry.title.empty());
        if (menus.empty() || menus.back() != entry.menu) menus.push_back(entry.menu);
    }
    EXPECT_EQ(commands.size(), static_cast<std::size_t>(Command::showKeys) + 1);
    EXPECT_EQ(menus, (std::vector<CommandMenu>{CommandMenu::file, CommandMenu::edit, CommandMenu::look,
                                               CommandMenu::view, CommandMenu::playback, CommandMenu::help}));
}

TEST(CommandTable, NoTwoCommandsHaveOneKey) {
    std::set<std::string_view> keys;
    for (const CommandEntry& entry : commandTable()) {
        for (const std::string_view key : entry.keys) {
            if (key.empty()) continue;
            EXPECT_TRUE(keys.insert(key).second) << key;
            EXPECT_EQ(commandWithKey(key), entry.command) << key;
        }
    }
    EXPECT_GT(keys.size(), 25u);
    EXPECT_EQ(commandWithKey(""), std::nullopt);
    EXPECT_EQ(commandWithKey("Ctrl+Left"), std::nullopt);
}

TEST(CommandTable, KeysHaveTheNamesOfGermanKeyboards) {
    EXPECT_EQ(keyText("Ctrl+Shift+Z"), "Strg+Umschalt+Z");
    EXPECT_EQ(keyText("Shift+Left"), "Umschalt+←");
    EXPECT_EQ(keyText("+"), "+");
    EXPECT_EQ(keyText("Ctrl++"), "Strg++");
    EXPECT_EQ(keyText("-"), "−");
    EXPECT_EQ(keyText("Delete"), "Entf");
    EXPECT_EQ(keyText("Home"), "Pos1");
    EXPECT_EQ(keyText("F11"), "F11");
    EXPECT_EQ(keyText(""), "");
}

TEST(CommandTable, UndoAndRedoNameTheirStep) {
    CommandState state;
    EXPECT_EQ(commandTitle(Command::undo, state), "Rückgängig");
    EXPECT_FALSE(isEnabled(Command::undo, state));
    state.undoName = "Zoom verschieben";
    EXPECT_EQ(commandTitle(Command::undo, state), "Rückgängig: Zoom verschieben");
    EXPECT_TRUE(isEnabled(Command::undo, state));
    EXPECT_FALSE(isEnabled(Command::redo, state));
    state.redoName = "Rand";
    EXPECT_EQ(commandTitle(Command::redo, state), "Wiederholen: Rand");
    EXPECT_TRUE(isEnabled(Command::redo, state));
}

TEST(CommandTable, TitlesSayWhatTheCommandDoesNow) {
    CommandState state;
    EXPECT_EQ(commandTitle(Command::togglePlayback, state), "Abspielen");
    EXPECT_EQ(commandTitle(Command::markCut, state), "Schnitt von hier");
    state.isPlaying = true;
    state.hasPendingCut = true;
    state.isDrawingMask = true;
    state.isEditingFocus = true;
    state.isFullScreen = true;
    EXPECT_EQ(commandTitle(Command::togglePlayback, state), "Anhalten");
    EXPECT_EQ(commandTitle(Command::markCut, state), "Schnitt bis hier");
    EXPECT_EQ(commandTitle(Command::drawMask, state), "Aufziehen abbrechen");
    EXPECT_EQ(commandTitle(Command::editFocus, state), "Zoom wieder zeigen");
    EXPECT_EQ(commandTitle(Command::fullScreen, state), "Vollbild verlassen");
}

TEST(CommandTable, SwitchesAreCheckedWhileTheyAreOn) {
    CommandState state;
    std::set<Command> switches;
    for (const CommandEntry& entry : commandTable()) {
        if (entry.isSwitch) switches.insert(entry.command);
        EXPECT_FALSE(isChecked(entry.command, state)) << entry.title;
    }
    EXPECT_EQ(switches, std::set{Command::prepareFilms});
    state.preparesFilms = true;
    for (const CommandEntry& entry : commandTable()) {
        EXPECT_EQ(isChecked(entry.command, state), entry.isSwitch) << entry.title;
    }
}

TEST(CommandTable, WhatWouldChangeNothingIsDisabled) {
    const CommandState nothing;
    for (const Command command :
         {Command::reveal, Command::deleteSelected, Command::removeLastCut, Command::showZoom, Command::editFocus,
          Command::resetZooms, Command::deleteLook, Command::removeLastMask, Command::removeAllMasks}) {
        EXPECT_FALSE(isEnabled(command, nothing)) << commandEntry(command).title;
    }
    CommandState everything;
    everything.undoName = everything.redoName = "Rand";
    everything.hasVideo = everything.hasSelection = everything.hasCuts = everything.hasZooms = true;
    everything.hasManualZooms = everything.hasMasks = everything.hasLooks = true;
    for (const CommandEntry& entry : commandTable()) EXPECT_TRUE(isEnabled(entry.command, everything)) << entry.title;
    everything.isRendering = true;
    EXPECT_FALSE(isEnabled(Command::render, everything));
}

}  // namespace
}  // namespace lumivastor::editor
