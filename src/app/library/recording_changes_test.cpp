// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_changes.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::app {
namespace {

namespace fs = std::filesystem;

std::string failureOf(const fs::path& folder, const std::string& name) {
    try {
        renameFolder(folder, name);
        return "";
    } catch (const RecorderError& error) {
        return error.message();
    }
}

TEST(RecordingChanges, NamesThatNoFolderCanHaveAreRefusedWithAReason) {
    for (const char* name : {"Übung 7", "a", "2025-03-14_09-05-33", "a.b", "Fragen & Antworten: \"Teil 1\""}) {
        EXPECT_EQ(nameRefusal(name), std::nullopt) << name;
    }
    for (const char* name : {"", "  ", "\t"}) EXPECT_EQ(nameRefusal(name), "Der Name ist leer.");
    EXPECT_EQ(nameRefusal("a/b"), "Ein Name darf keinen Schrägstrich enthalten.");
    EXPECT_EQ(nameRefusal("../a"), "Ein Name darf keinen Schrägstrich enthalten.");
    for (const char* name : {".", "..", ".versteckt"}) {
        EXPECT_EQ(nameRefusal(name), "Ein Name darf nicht mit einem Punkt beginnen.");
    }
    EXPECT_EQ(nameRefusal("a\nb"), "Der Name enthält unsichtbare Zeichen.");
    EXPECT_EQ(nameRefusal(std::string(255, 'a')), std::nullopt);
    EXPECT_EQ(nameRefusal(std::string(256, 'a')), "Der Name ist zu lang.");
}

TEST(RecordingChanges, TypedNamesLoseSpacesAroundThem) {
    EXPECT_EQ(trimmedName("  a b \n"), "a b");
    EXPECT_EQ(trimmedName(" "), "");
}

TEST(RecordingChanges, TheStateSaysWhatCanBeDone) {
    RecordingEntry entry;
    EXPECT_EQ(commandsOf(entry), (RecordingCommands{true, false, true}));
    entry.isBeingRendered = true;
    EXPECT_EQ(commandsOf(entry), (RecordingCommands{true, false, false}));
    entry.state = RecordingState::interrupted;
    EXPECT_EQ(commandsOf(entry), (RecordingCommands{false, true, false}));
    for (const RecordingState state : {RecordingState::inProgress, RecordingState::damaged}) {
        entry.state = state;
        EXPECT_EQ(commandsOf(entry), RecordingCommands{});
    }
}

TEST(RecordingChanges, ARecordingInUseStaysWhereItIs) {
    RecordingEntry entry;
    entry.folder = "/r/A";
    EXPECT_EQ(useRefusal(entry, RecordingUse::none), std::nullopt);
    EXPECT_EQ(useRefusal(entry, RecordingUse::edited), "„A“ ist im Editor geöffnet. Schließe ihn zuerst.");
    EXPECT_EQ(useRefusal(entry, RecordingUse::rendered), "„A“ wird gerade gerendert.");
    EXPECT_EQ(useRefusal(entry, RecordingUse::completed), "„A“ wird gerade abgeschlossen.");
    entry.isBeingRendered = true;
    EXPECT_EQ(useRefusal(entry, RecordingUse::none), "„A“ wird gerade gerendert.");
    entry.state = RecordingState::inProgress;
    EXPECT_EQ(useRefusal(entry, RecordingUse::none), "„A“ wird gerade aufgenommen.");
    entry.state = RecordingState::interrupted;
    entry.isBeingRendered = false;
    EXPECT_EQ(useRefusal(entry, RecordingUse::none), std::nullopt);
}

TEST(RecordingChanges, RenamesWithinItsFolder) {
    const TemporaryFolder root;
    root.write("A/source.mov", "movie");
    EXPECT_EQ(renameFolder(root / "A", "Übung 1"), root / "Übung 1");
    EXPECT_EQ(root.read("Übung 1/source.mov"), "movie");
    EXPECT_FALSE(fs::exists(root / "A"));
    EXPECT_EQ(renameFolder(root / "Übung 1", "Übung 1"), root / "Übung 1");
}

TEST(RecordingChanges, WhatIsThereIsNeverReplaced) {
    const TemporaryFolder root;
    root.write("A/source.mov", "movie");
    fs::create_directory(root / "empty");
    root.write("file", "x");
    fs::create_symlink("nowhere", root / "link");
    for (const char* name : {"empty", "file", "link"}) {
        EXPECT_EQ(failureOf(root / "A", name), "Es gibt hier schon etwas mit dem Namen „" + std::string(name) + "“.");
    }
    EXPECT_EQ(root.read("A/source.mov"), "movie");
    EXPECT_EQ(root.read("file"), "x");
    EXPECT_TRUE(fs::is_directory(root / "empty"));
    EXPECT_EQ(failureOf(root / "gone", "B"), "„gone“ lässt sich nicht umbenennen: Datei oder Ordner nicht gefunden.");
}

}  // namespace
}  // namespace lumivastor::app
