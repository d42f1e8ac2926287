// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/save_timer.h"

#include <gtest/gtest.h>

#include "support/manual_main_loop.h"

namespace lumivastor::editor {
namespace {

TEST(SaveTimer, FiresOnceAWhileAfterTheLastOfABurst) {
    ManualMainLoop loop;
    int saves = 0;
    SaveTimer timer(loop, [&] { ++saves; });
    for (int i = 0; i < 20; ++i) {
        timer.schedule();
        loop.advance(0.5);
    }
    EXPECT_EQ(saves, 0);
    EXPECT_TRUE(timer.isPending());
    loop.advance(0.29);
    EXPECT_EQ(saves, 0);
    loop.advance(0.02);
    EXPECT_EQ(saves, 1);
    EXPECT_FALSE(timer.isPending());
    loop.advance(10);
    EXPECT_EQ(saves, 1);
}

TEST(SaveTimer, ACancelledSaveDoesNotHappen) {
    ManualMainLoop loop;
    int saves = 0;
    {
        SaveTimer timer(loop, [&] { ++saves; });
        timer.schedule();
        timer.cancel();
        loop.advance(2);
        timer.schedule();
    }
    loop.advance(2);
    EXPECT_EQ(saves, 0);
}

}  // namespace
}  // namespace lumivastor::editor
