// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_layer.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::x11 {
namespace {

int layer(const std::vector<XAtom>& types, const std::vector<XAtom>& states = {}) {
    return windowLayer(types, states);
}

TEST(WindowLayer, OrdinaryWindowsAreAtZero) {
    EXPECT_EQ(layer({}), 0);
    EXPECT_EQ(layer({XAtom::typeNormal}), 0);
    EXPECT_EQ(layer({XAtom::typeDialog}), 0);
}

TEST(WindowLayer, DesktopsAreBelowAndWhatFloatsIsAbove) {
    EXPECT_LT(layer({XAtom::typeDesktop}), 0);
    for (const XAtom type : {XAtom::typeDock, XAtom::typePopupMenu, XAtom::typeNotification, XAtom::typeTooltip}) {
        EXPECT_GT(layer({type}), 0);
    }
    EXPECT_GT(layer({XAtom::typeNormal}, {XAtom::netWmStateAbove}), 0);
    EXPECT_LT(layer({XAtom::typeDesktop}, {XAtom::netWmStateAbove}), 0);
}

TEST(WindowLayer, TakesTheFirstTypeThatItKnows) {
    EXPECT_EQ(layer({XAtom::netWmName, XAtom::typeNormal, XAtom::typeDock}), 0);
    EXPECT_GT(layer({XAtom::netWmName, XAtom::typeDock, XAtom::typeNormal}), 0);
}

}  // namespace
}  // namespace lumivastor::x11
