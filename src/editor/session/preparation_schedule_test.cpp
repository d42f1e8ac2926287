// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/preparation_schedule.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

using Step = PreparationSchedule::Step;
using Facts = PreparationSchedule::Facts;

constexpr double kQuiet = PreparationSchedule::kQuiet;

class PreparationScheduleTest : public testing::Test {
  protected:
    PreparationScheduleTest() { schedule_.opened(1, 100); }
    void begin() { ASSERT_EQ(schedule_.next({}, 100 + kQuiet), Step::begin); }

    PreparationSchedule schedule_;
};

TEST_F(PreparationScheduleTest, BeginsWhenItHasBeenQuietForAWhile) {
    EXPECT_EQ(schedule_.next({}, 100), Step::none);
    schedule_.touched(102);
    EXPECT_EQ(schedule_.next({}, 100 + kQuiet), Step::none);
    EXPECT_EQ(schedule_.next({}, 101.9 + kQuiet), Step::none);
    EXPECT_TRUE(schedule_.hasWork());
    EXPECT_EQ(schedule_.running(), std::nullopt);
    EXPECT_EQ(schedule_.next({}, 102 + kQuiet), Step::begin);
    EXPECT_EQ(schedule_.running(), 1);
    EXPECT_EQ(schedule_.next({}, 103 + kQuiet), Step::none) << "one at a time";
}

TEST_F(PreparationScheduleTest, EachFactPreventsItAndEndsIt) {
    const Facts reasons[] = {
        {.isOn = false}, {.isOnMains = false}, {.isRecording = true}, {.isExporting = true}, {.isBusy = true}};
    double now = 200;
    for (const Facts& facts : reasons) {
        EXPECT_EQ(schedule_.next(facts, now), Step::none);
        EXPECT_EQ(schedule_.next({}, now), Step::begin);
        EXPECT_EQ(schedule_.next(facts, now + 1), Step::stop);
        EXPECT_EQ(schedule_.next(facts, now + 2), Step::none) << "said once";
        EXPECT_EQ(schedule_.next({}, now + 3), Step::none) << "has not ended yet";
        schedule_.ended(false);
        now += 10;
    }
    EXPECT_EQ(schedule_.next({}, now), Step::begin) << "there is still something to do";
}

TEST_F(PreparationScheduleTest, WorkEndsItAtOnceAndItGoesOnLater) {
    begin();
    schedule_.touched(120);
    EXPECT_EQ(schedule_.next({}, 120), Step::stop);
    schedule_.ended(false);
    EXPECT_EQ(schedule_.next({}, 121), Step::none);
    EXPECT_EQ(schedule_.next({}, 120 + kQuiet), Step::begin);
}

TEST_F(PreparationScheduleTest, AWholeFilmIsPreparedAgainOnlyWhenItIsAnotherOneOrHasBeenExported) {
    begin();
    schedule_.ended(true);
    EXPECT_FALSE(schedule_.hasWork());
    schedule_.touched(130);
    EXPECT_EQ(schedule_.next({}, 200), Step::none);
    schedule_.edited(1, 200);
    EXPECT_TRUE(schedule_.hasWork());
    EXPECT_EQ(schedule_.next({}, 200), Step::none);
    EXPECT_EQ(schedule_.next({}, 200 + kQuiet), Step::begin);
    schedule_.ended(true);
    schedule_.exported();
    EXPECT_EQ(schedule_.next({}, 300), Step::begin);
}

TEST_F(PreparationScheduleTest, AnEditMakesTheEndOfTheOldFilmNoEnd) {
    begin();
    schedule_.edited(1, 110);
    // Its end was already on its way.
    schedule_.ended(true);
    EXPECT_TRUE(schedule_.hasWork());
    EXPECT_EQ(schedule_.next({}, 110 + kQuiet), Step::begin);
    // An edit of which nobody told in time.
    schedule_.edited(1, 112);
    EXPECT_EQ(schedule_.next({}, 112 + kQuiet), Step::stop);
}

TEST_F(PreparationScheduleTest, TheFilmThatWasEditedLastComesFirst) {
    schedule_.opened(2, 101);
    schedule_.opened(3, 102);
    schedule_.edited(2, 103);
    ASSERT_EQ(schedule_.next({}, 200), Step::begin);
    EXPECT_EQ(schedule_.running(), 2);
    // Another editor's edit is a touch only.
    schedule_.edited(1, 204);
    EXPECT_EQ(schedule_.next({}, 204), Step::stop);
    schedule_.ended(false);
    ASSERT_EQ(schedule_.next({}, 300), Step::begin);
    EXPECT_EQ(schedule_.running(), 1);
    schedule_.ended(true);
    ASSERT_EQ(schedule_.next({}, 301), Step::begin);
    EXPECT_EQ(schedule_.running(), 2);
    schedule_.ended(true);
    ASSERT_EQ(schedule_.next({}, 302), Step::begin);
    EXPECT_EQ(schedule_.running(), 3);
}

TEST_F(PreparationScheduleTest, AClosedEditorsFilmIsLeftAlone) {
    begin();
    schedule_.closed(1);
    EXPECT_EQ(schedule_.next({}, 200), Step::stop);
    schedule_.ended(false);
    EXPECT_FALSE(schedule_.hasWork());
    EXPECT_EQ(schedule_.next({}, 300), Step::none);
}

}  // namespace
}  // namespace lumivastor::editor
