// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/command_switches.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::app {
namespace {

CommandSwitches parsed(const std::vector<std::string>& words) {
    return commandSwitches(words, "/arbeit");
}

TEST(CommandSwitches, AreOffWithoutWords) {
    EXPECT_FALSE(parsed({}).openEditor);
    EXPECT_FALSE(parsed({}).testRegion);
    EXPECT_FALSE(parsed({}).chooseRecording);
}

TEST(CommandSwitches, ChooseRecordingMayStandAnywhere) {
    EXPECT_TRUE(parsed({"--choose-recording"}).chooseRecording);
    EXPECT_TRUE(parsed({"--open-editor", "/videos/a", "--choose-recording"}).chooseRecording);
}

TEST(CommandSwitches, OpenEditorTakesTheNextWord) {
    EXPECT_EQ(parsed({"--open-editor", "/videos/a"}).openEditor, "/videos/a");
    EXPECT_EQ(parsed({"--test-region", "--open-editor", "a/b"}).openEditor, "/arbeit/a/b");
    EXPECT_EQ(parsed({"--open-editor", "--test-region"}).openEditor, "/arbeit/--test-region");
}

TEST(CommandSwitches, OpenEditorAtTheEndOpensNothing) {
    EXPECT_FALSE(parsed({"--open-editor"}).openEditor);
    EXPECT_FALSE(parsed({"--test-region", "--open-editor"}).openEditor);
}

TEST(CommandSwitches, TestRegionMayStandAnywhere) {
    EXPECT_TRUE(parsed({"--test-region"}).testRegion);
    EXPECT_TRUE(parsed({"-psn_0", "--test-region", "x"}).testRegion);
}

}  // namespace
}  // namespace lumivastor::app
