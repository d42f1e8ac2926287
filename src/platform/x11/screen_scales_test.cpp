// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/screen_scales.h"

#include <gtest/gtest.h>

namespace lumivastor::x11 {
namespace {

TEST(ScreenScales, ReadTheResourceDatabase) {
    EXPECT_EQ(parseDotsPerInch("Xcursor.size:\t24\nXft.dpi:\t192\nXft.antialias:\t1\n"), 192);
    EXPECT_EQ(parseDotsPerInch("Xft.dpi: 120"), 120);
    EXPECT_EQ(parseDotsPerInch(""), std::nullopt);
    EXPECT_EQ(parseDotsPerInch("Xft.dpi: viele"), std::nullopt);
    EXPECT_EQ(parseDotsPerInch("Xft.dpi: 0"), std::nullopt);
    EXPECT_EQ(parseDotsPerInch("Xft.dpi: -96"), std::nullopt);
    EXPECT_EQ(parseDotsPerInch("Xft.dpi: 99999999999"), std::nullopt);
    EXPECT_EQ(parseDotsPerInch("emacs.Xft.dpi: 120"), std::nullopt);
}

TEST(ScreenScales, FollowTheDotsPerInchWithoutRounding) {
    ScreenScales scales;
    EXPECT_EQ(scales.scaleOf("Left", 0), 1);
    for (const auto& [dots, scale] : {std::pair{96, 1.0}, {120, 1.25}, {144, 1.5}, {192, 2.0}, {100, 100 / 96.0}}) {
        scales.dotsPerInch = dots;
        EXPECT_DOUBLE_EQ(scales.scaleOf("Left", 0), scale);
    }
}

TEST(ScreenScales, NamedMonitorsOverrideTheDotsPerInch) {
    ScreenScales scales = parseScales("Left=2;Right=1.5", "");
    scales.dotsPerInch = 120;
    EXPECT_EQ(scales.scaleOf("Left", 1), 2);
    EXPECT_EQ(scales.scaleOf("Right", 0), 1.5);
    EXPECT_EQ(scales.scaleOf("Third", 2), 1.25);
}

TEST(ScreenScales, MonitorsMayBeGivenByTheirOrder) {
    const ScreenScales scales = parseScales("2;x;1.25", "");
    EXPECT_EQ(scales.scaleOf("a", 0), 2);
    EXPECT_EQ(scales.scaleOf("b", 1), 1);
    EXPECT_EQ(scales.scaleOf("c", 2), 1.25);
    EXPECT_EQ(scales.scaleOf("d", 3), 1);
}

TEST(ScreenScales, OneFactorMultipliesAll) {
    const ScreenScales scales = parseScales("Left=2", "1.5");
    EXPECT_EQ(scales.scaleOf("Left", 0), 3);
    EXPECT_EQ(scales.scaleOf("Right", 1), 1.5);
}

TEST(ScreenScales, IgnoreWhatMakesNoSense) {
    for (const char* text : {";;", "Left=", "=2", "Left=0", "Left=-1", "Left=nan", "Left=1e99", "Left=2px"}) {
        EXPECT_EQ(parseScales(text, text).scaleOf("Left", 0), 1) << text;
    }
}

}  // namespace
}  // namespace lumivastor::x11
