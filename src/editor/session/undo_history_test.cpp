// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/undo_history.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

model::ProjectSettings withPadding(double padding) {
    model::ProjectSettings settings;
    settings.padding = padding;
    return settings;
}

TEST(UndoHistory, ALongDragIsOneStep) {
    UndoHistory history;
    for (int i = 0; i < 500; ++i) history.push(withPadding(i), "Rand", true, 100 + i * 0.01);
    ASSERT_EQ(history.undoSteps(), 1u);
    EXPECT_EQ(history.undo(withPadding(500)), withPadding(0));
    EXPECT_EQ(history.undo(withPadding(0)), std::nullopt);
}

TEST(UndoHistory, StepsKeepTheirNames) {
    UndoHistory history;
    EXPECT_EQ(history.undoName(), "");
    history.push(withPadding(1), "Schnitt", false, 0);
    history.push(withPadding(2), "Zoom", false, 1);
    EXPECT_EQ(history.undoName(), "Zoom");
    EXPECT_EQ(history.redoName(), "");
    history.undo(withPadding(3));
    EXPECT_EQ(history.undoName(), "Schnitt");
    EXPECT_EQ(history.redoName(), "Zoom");
    history.redo(withPadding(2));
    EXPECT_EQ(history.undoName(), "Zoom");
}

TEST(UndoHistory, NothingJoinsARunThatHasEnded) {
    UndoHistory history;
    history.push(withPadding(1), "Rand", true, 0);
    history.endRun();
    history.push(withPadding(2), "Rand", true, 0.1);
    EXPECT_EQ(history.undoSteps(), 2u);
}

TEST(UndoHistory, TwoDragsWithMoreThanASecondBetweenThemAreTwoSteps) {
    UndoHistory history;
    for (int i = 0; i < 10; ++i) history.push(withPadding(1), "Rand", true, i * 0.125);
    for (int i = 0; i < 10; ++i) history.push(withPadding(2), "Rand", true, 2.25 + i * 0.125);
    EXPECT_EQ(history.undoSteps(), 2u);
    history.push(withPadding(3), "Rand", true, 2.25 + 1.125 + 1);  // a whole second is a pause
    EXPECT_EQ(history.undoSteps(), 3u);
}

TEST(UndoHistory, ACommandIsAlwaysAStepOfItsOwnAndALaterDragJoinsIt) {
    UndoHistory history;
    history.push(withPadding(1), "Rand", false, 0);
    history.push(withPadding(2), "Rand", false, 0.1);
    EXPECT_EQ(history.undoSteps(), 2u);
    history.push(withPadding(3), "Rand", true, 0.2);
    EXPECT_EQ(history.undoSteps(), 2u);
}

TEST(UndoHistory, TheFiftyFirstStepDropsTheOldest) {
    UndoHistory history;
    for (int i = 0; i < 51; ++i) history.push(withPadding(i), "Rand", false, i);
    ASSERT_EQ(history.undoSteps(), 50u);
    model::ProjectSettings current = withPadding(51);
    for (int i = 50; i >= 1; --i) {
        const auto before = history.undo(current);
        ASSERT_EQ(before, withPadding(i));
        current = *before;
    }
    EXPECT_EQ(history.undo(current), std::nullopt);
    EXPECT_EQ(history.redoSteps(), 50u);
}

TEST(UndoHistory, RedoComesBackAndUndoGoesAgain) {
    UndoHistory history;
    history.push(withPadding(0), "Rand", false, 0);
    EXPECT_EQ(history.undo(withPadding(1)), withPadding(0));
    EXPECT_EQ(history.redo(withPadding(0)), withPadding(1));
    EXPECT_EQ(history.redo(withPadding(1)), std::nullopt);
    EXPECT_EQ(history.undo(withPadding(1)), withPadding(0));
}

TEST(UndoHistory, AnyChangeAfterAnUndoForgetsWhatWasUndoneEvenAQuickDrag) {
    UndoHistory history;
    history.push(withPadding(0), "Rand", true, 0);
    history.undo(withPadding(1));
    ASSERT_EQ(history.redoSteps(), 1u);
    history.push(withPadding(0), "Rand", true, 0.2);
    EXPECT_EQ(history.redoSteps(), 0u);
    EXPECT_EQ(history.undoSteps(), 1u);
}

}  // namespace
}  // namespace lumivastor::editor
