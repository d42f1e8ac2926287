// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/formatted.h"

#include <gtest/gtest.h>

namespace lumivastor {
namespace {

TEST(Formatted, PrintsLikePrintf) {
    EXPECT_EQ(formatted("%.1f s, %d Zooms – %s", 12.34, 3, "studio-output.mp4"), "12.3 s, 3 Zooms – studio-output.mp4");
}

TEST(Formatted, TakesTextsOfAnyLength) {
    const std::string lengthy(100'000, 'x');
    EXPECT_EQ(formatted("<%s>", lengthy.c_str()), "<" + lengthy + ">");
    EXPECT_EQ(formatted("%s", ""), "");
}

}  // namespace
}  // namespace lumivastor
