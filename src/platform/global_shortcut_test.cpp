// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/global_shortcut.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

TEST(KeyCombinations, ReadAsUsersKnowThem) {
    EXPECT_EQ(keyText({.letter = 'S', .control = true, .alt = true, .shift = true}), "Strg+Alt+Umschalt+S");
    EXPECT_EQ(keyText({.letter = 'A', .control = false, .alt = true, .shift = false}), "Alt+A");
    EXPECT_EQ(keyText({}), "S");
    EXPECT_EQ(keyText({.letter = kEscapeKey}), "Esc");
}

}  // namespace
}  // namespace lumivastor::platform
