// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/power_supply.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor::app {
namespace {

class PowerSupply : public testing::Test {
  protected:
    void add(const std::string& name, const std::map<std::string, std::string>& files) {
        std::filesystem::create_directory(folder_ / name);
        for (const auto& [file, text] : files) writeText(folder_ / name / file, text + "\n");
    }
    bool isMains() const { return isOnMains(folder_.path()); }

    TemporaryFolder folder_;
};

TEST_F(PowerSupply, WithoutAnyItIsMains) {
    EXPECT_TRUE(isMains());
    EXPECT_TRUE(isOnMains(folder_ / "missing"));
}

TEST_F(PowerSupply, ANotebookIsOnMainsWhileItsLineIs) {
    add("AC", {{"type", "Mains"}, {"online", "1"}});
    add("BAT0", {{"type", "Battery"}, {"status", "Charging"}});
    EXPECT_TRUE(isMains());
    // A battery that cannot be charged any more is sometimes said to discharge.
    writeText(folder_ / "BAT0" / "status", "Discharging\n");
    EXPECT_TRUE(isMains());
    writeText(folder_ / "AC" / "online", "0\n");
    EXPECT_FALSE(isMains());
    // A moment after the plug was pulled.
    writeText(folder_ / "BAT0" / "status", "Full\n");
    EXPECT_FALSE(isMains());
}

TEST_F(PowerSupply, OneOfSeveralLinesIsEnough) {
    add("AC", {{"type", "Mains"}, {"online", "0"}});
    add("BAT0", {{"type", "Battery"}, {"status", "Not charging"}});
    add("ucsi-source-psy-1", {{"type", "USB"}, {"online", "0"}});
    EXPECT_FALSE(isMains());
    add("ucsi-source-psy-2", {{"type", "USB"}, {"online", "2"}});
    EXPECT_TRUE(isMains());
}

TEST_F(PowerSupply, WithoutALineTheBatteryTells) {
    add("BAT0", {{"type", "Battery"}, {"status", "Discharging"}});
    EXPECT_FALSE(isMains());
    writeText(folder_ / "BAT0" / "status", "Unknown\n");
    EXPECT_TRUE(isMains());
}

TEST_F(PowerSupply, ADesktopWithUnusedSocketsAndAMouseIsOnMains) {
    add("ucsi-source-psy-1", {{"type", "USB"}, {"online", "0"}});
    add("hidpp_battery_0", {{"type", "Battery"}, {"scope", "Device"}, {"status", "Discharging"}, {"online", "1"}});
    EXPECT_TRUE(isMains());
}

TEST_F(PowerSupply, WhatCannotBeReadCountsAsNothing) {
    add("odd", {});
    writeText(folder_ / "file", "1\n");
    EXPECT_TRUE(isMains());
}

}  // namespace
}  // namespace lumivastor::app
