// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/progress_bar.h"

#include <gtest/gtest.h>

namespace lumivastor::cli {
namespace {

TEST(ProgressLine, ShowsPercentRateAndRemainingTime) {
    EXPECT_EQ(progressLine(0.5, 10, 600), "[███████████████···············]  50 %  30 Bilder/s  noch 0:10");
    EXPECT_EQ(progressLine(0.25, 1000, 100'000), "[████████······················]  25 %  25 Bilder/s  noch 50:00");
    EXPECT_EQ(progressLine(0.1, 1000, 100'000), "[███···························]  10 %  10 Bilder/s  noch 2:30:00");
}

TEST(ProgressLine, SaysNothingThatItDoesNotKnow) {
    EXPECT_EQ(progressLine(0, 10, 600), "[······························]   0 %");
    EXPECT_EQ(progressLine(0.5, 0.1, 600), "[███████████████···············]  50 %");
}

TEST(ProgressLine, ATimeWithoutEndIsShownSomehow) {
    EXPECT_NE(progressLine(1e-300, 1e10, 100).find("noch 2562047788015215:30:07"), std::string::npos);
}

TEST(ProgressLine, StaysWithinItsBar) {
    EXPECT_EQ(progressLine(-1, 10, 600), "[······························]   0 %");
    EXPECT_EQ(progressLine(7, 10, 600), "[██████████████████████████████] 100 %  60 Bilder/s  noch 0:00");
}

}  // namespace
}  // namespace lumivastor::cli
