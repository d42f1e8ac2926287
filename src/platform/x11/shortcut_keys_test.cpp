// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/shortcut_keys.h"

#include <gtest/gtest.h>

namespace lumivastor::x11 {
namespace {

constexpr std::uint32_t kYeru = 0x6d9;
constexpr std::uint32_t kYeruCapital = 0x6f9;

// Three keys from 38 on: English in the first group, in the second one that moves letters around, and one of another
// script.
const std::vector<std::uint32_t> kMoved = {
    'a', 'A', 'o', 'O',  //
    's', 'S', 'a', 'A',  //
    'd', 'D', 's', 'S',
};
const std::vector<std::uint32_t> kOtherScript = {
    'a', 'A', 0x6c6, 0x6e6,         //
    's', 'S', kYeru, kYeruCapital,  //
    'd', 'D', 0x6d7, 0x6f7,
};

TEST(ShortcutKeys, AreThoseOfAllGroups) {
    EXPECT_EQ(keysFor({kMoved, 4, 38}, 'S'), (std::vector<std::uint8_t>{39, 40}));
    EXPECT_EQ(keysFor({kOtherScript, 4, 38}, 'S'), (std::vector<std::uint8_t>{39}));
    EXPECT_EQ(keysFor({kMoved, 4, 38}, 'Z'), (std::vector<std::uint8_t>{}));
    EXPECT_EQ(keysFor({{}, 0, 8}, 'S'), (std::vector<std::uint8_t>{}));
    // A third group is in further columns.
    const std::vector<std::uint32_t> third = {0, 0, 0, 0, 's', 'S'};
    EXPECT_EQ(keysFor({third, 6, 8}, 'S'), (std::vector<std::uint8_t>{8}));
}

TEST(ShortcutKeys, MeanTheLetterWhereTheGroupInForceHasIt) {
    const KeyboardMapping moved{kMoved, 4, 38};
    EXPECT_TRUE(meansLetter(moved, 39, 0, 'S'));
    EXPECT_FALSE(meansLetter(moved, 40, 0, 'S'));
    EXPECT_FALSE(meansLetter(moved, 39, 1, 'S'));
    EXPECT_TRUE(meansLetter(moved, 40, 1, 'S'));
}

TEST(ShortcutKeys, KeepTheirPlaceWhereTheGroupHasNoSuchLetter) {
    const KeyboardMapping other{kOtherScript, 4, 38};
    EXPECT_TRUE(meansLetter(other, 39, 0, 'S'));
    EXPECT_TRUE(meansLetter(other, 39, 1, 'S'));
    EXPECT_TRUE(meansLetter(other, 39, 3, 'S')) << "nothing is known of further groups";
}

}  // namespace
}  // namespace lumivastor::x11
