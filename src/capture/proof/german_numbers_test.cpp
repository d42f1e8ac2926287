// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/proof/german_numbers.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivastor::capture {
namespace {

TEST(GermanNumbers, ThousandsAreGrouped) {
    EXPECT_EQ(groupedText(0), "0");
    EXPECT_EQ(groupedText(999), "999");
    EXPECT_EQ(groupedText(1000), "1.000");
    EXPECT_EQ(groupedText(36180), "36.180");
    EXPECT_EQ(groupedText(1234567), "1.234.567");
    EXPECT_EQ(groupedText(-1234), "−1.234");
    EXPECT_EQ(groupedText(-123), "−123");
    EXPECT_EQ(groupedText(std::numeric_limits<std::int64_t>::min()), "−9.223.372.036.854.775.808");
}

TEST(GermanNumbers, FractionsHaveACommaAndNegativeOnesAMinusSign) {
    EXPECT_EQ(commaText(-18.24, 1), "−18,2");
    EXPECT_EQ(commaText(0.05, 2), "0,05");
    EXPECT_EQ(commaText(-0.01, 1), "0,0");
    EXPECT_EQ(commaText(12, 0), "12");
}

TEST(GermanNumbers, TimesAreReadOffAClock) {
    EXPECT_EQ(clockText(59.9), "0:59");
    EXPECT_EQ(clockText(4503), "75:03");
    EXPECT_EQ(clockText(-1), "0:00");
    EXPECT_EQ(lengthText(602.6), "10:03 min");
    EXPECT_EQ(lengthText(3599.4), "59:59 min");
    EXPECT_EQ(lengthText(3723), "1:02:03 h");
}

}  // namespace
}  // namespace lumivastor::capture
