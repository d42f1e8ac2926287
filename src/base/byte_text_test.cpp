// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/byte_text.h"

#include <gtest/gtest.h>

namespace lumivastor {
namespace {

TEST(ByteText, HasAboutThreeDigits) {
    EXPECT_EQ(byteText(0), "0 kB");
    EXPECT_EQ(byteText(512), "1 kB");
    EXPECT_EQ(byteText(812'000), "812 kB");
    EXPECT_EQ(byteText(999'600), "1,0 MB");
    EXPECT_EQ(byteText(3'440'000), "3,4 MB");
    EXPECT_EQ(byteText(99'960'000), "100 MB");
    EXPECT_EQ(byteText(125'400'000'000), "125 GB");
    EXPECT_EQ(byteText(2'000'000'000'000'000), "2000 TB");
}

}  // namespace
}  // namespace lumivastor
