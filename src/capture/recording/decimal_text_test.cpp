// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/decimal_text.h"

#include <gtest/gtest.h>

namespace lumivastor::capture {
namespace {

TEST(DecimalText, AlwaysHasAFraction) {
    EXPECT_EQ(decimalText(2), "2.0");
    EXPECT_EQ(decimalText(1.25), "1.25");
    EXPECT_EQ(decimalText(-1), "-1.0");
}

}  // namespace
}  // namespace lumivastor::capture
