// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/idle_dialog.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <cmath>
#include <vector>

#include "support/editor_fixture.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {
namespace {

// A recording of 14 s in which nothing happens from 2 to 7 and from 8 to 12 s.
class IdleDialogTest : public EditorFixture {
  protected:
    void openIdleRecording(const TestSound& sound = {.amplitude = 0}) {
        constexpr int kTicks = 600;
        options_.pictureTicks.clear();
        for (int frame = 0; frame < 14 * 30; ++frame) {
            const double t = frame / 30.0;
            if ((t > 2 && t < 7) || (t > 8 && t < 12)) continue;
            options_.pictureTicks.push_back(frame * kTicks / 30);
        }
        options_.pictures = static_cast<int>(options_.pictureTicks.size());
        options_.sounds = {sound};
        options_.soundSeconds = 14;
        makeTestMovie(folder_ / "source.mov", options_);
        info_.duration = 14;
        info_.systemAudio = true;
        info_.save(folder_.path());
        model::PointerTrack().save(folder_.path());
        settings_.save(folder_.path());
        window_ = std::make_unique<EditorWindow>(folder_.path(), loop_, EditorWindow::Options{});
        window_->show();
        window_->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
    }

    void showDialog() {
        click("idleButton");
        ASSERT_TRUE(awaitInLoop([this] { return summary() != "Die Aufnahme wird durchgesehen …"; }));
    }

    IdleDialog* dialog() { return window_->findChild<IdleDialog*>("idleDialog"); }
    QTreeWidget& list() { return *find<QTreeWidget>("idleList"); }
    std::string summary() { return textOf("idleSummary"); }
    QPoint middleOf(int row, int column = 1) {
        QTreeWidgetItem* const item = list().topLevelItem(row);
        return list().visualRect(list().indexFromItem(item, column)).center();
    }
    // The dialog's list, row by row.
    std::vector<std::string> rows() {
        std::vector<std::string> rows;
        for (int i = 0; i < list().topLevelItemCount(); ++i) {
            const QTreeWidgetItem& item = *list().topLevelItem(i);
            std::string row = item.checkState(0) == Qt::Checked ? "+" : "-";
            for (int column = 0; column < 3; ++column) row += " " + item.text(column).toStdString();
            rows.push_back(row);
        }
        return rows;
    }
};

TEST_F(IdleDialogTest, ListsWhereNothingHappens) {
    openIdleRecording();
    showDialog();
    EXPECT_TRUE(dialog()->isVisible());
    EXPECT_FALSE(dialog()->isModal());
    EXPECT_EQ(rows(), (std::vector<std::string>{"+ 0:02.0 5.0 s 4.3 s", "+ 0:08.0 4.0 s 3.3 s"}));
    EXPECT_EQ(summary(), "2 von 2 Stellen gewählt, das Video wird 7.5 s kürzer.");
}

TEST_F(IdleDialogTest, CutsAllInOneStep) {
    openIdleRecording();
    showDialog();
    click("idleApplyButton");
    const auto cuts = session().settings().cuts;
    ASSERT_EQ(cuts.size(), 2U);
    EXPECT_NEAR(cuts[0].start, 2.35, 1.0 / 30);
    EXPECT_NEAR(cuts[0].end, 6.65, 1.0 / 30);
    EXPECT_NEAR(cuts[1].start, 8.35, 1.0 / 30);
    EXPECT_NEAR(cuts[1].end, 11.65, 1.0 / 30);
    EXPECT_EQ(session().history().undoName(), "Leerlauf kürzen");
    EXPECT_FALSE(dialog()->isVisible());
    session().undo();
    EXPECT_TRUE(session().settings().cuts.empty());
    session().redo();
    showDialog();
    EXPECT_EQ(summary(), "Kein Leerlauf gefunden.");
    EXPECT_FALSE(find<QPushButton>("idleApplyButton")->isEnabled());
}

TEST_F(IdleDialogTest, CutsOnlyWhatIsChosen) {
    openIdleRecording();
    showDialog();
    click("idleNoneButton");
    EXPECT_EQ(rows(), (std::vector<std::string>{"- 0:02.0 5.0 s 4.3 s", "- 0:08.0 4.0 s 3.3 s"}));
    EXPECT_FALSE(find<QPushButton>("idleApplyButton")->isEnabled());
    click("idleAllButton");
    EXPECT_EQ(dialog()->proposals().chosen(), 2U);
    // With the keyboard: the second row.
    list().setFocus();
    list().setCurrentItem(list().topLevelItem(0));
    QTest::keyClick(&list(), Qt::Key_Down);
    QTest::keyClick(&list(), Qt::Key_Space);
    EXPECT_EQ(summary(), "1 von 2 Stellen gewählt, das Video wird 4.3 s kürzer.");
    click("idleApplyButton");
    ASSERT_EQ(session().settings().cuts.size(), 1U);
    EXPECT_NEAR(session().settings().cuts[0].start, 2.35, 1.0 / 30);
}

TEST_F(IdleDialogTest, ChosenTimesProposeAgain) {
    openIdleRecording();
    showDialog();
    find<ui::ValueSlider>("idleLeastSlider")->moveTo(4.5);
    EXPECT_EQ(rows(), (std::vector<std::string>{"+ 0:02.0 5.0 s 4.3 s"}));
    find<ui::ValueSlider>("idleRestSlider")->moveTo(1);
    EXPECT_EQ(rows(), (std::vector<std::string>{"+ 0:02.0 5.0 s 4.0 s"}));
    EXPECT_EQ(textOf("idleRestSliderLabel"), "1.0 s");
    find<ui::ValueSlider>("idleLeastSlider")->moveTo(20);
    EXPECT_EQ(summary(), "Kein Leerlauf gefunden.");
}

TEST_F(IdleDialogTest, AClickOnARowShowsAndPlaysIt) {
    openIdleRecording();
    showDialog();
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, middleOf(1));
    EXPECT_TRUE(transport().isPlaying());
    EXPECT_NEAR(transport().playhead(), 7.35, 0.2);
    transport().pause();
    list().setFocus();
    list().setCurrentItem(list().topLevelItem(0));
    QTest::keyClick(&list(), Qt::Key_Return);
    EXPECT_TRUE(transport().isPlaying());
    EXPECT_NEAR(transport().playhead(), 1.35, 0.2);
    EXPECT_TRUE(session().settings().cuts.empty());
    EXPECT_TRUE(dialog()->isVisible());
}

TEST_F(IdleDialogTest, FollowsEditsOfTheVideo) {
    openIdleRecording();
    showDialog();
    model::ProjectSettings settings = session().settings();
    settings.cuts = {{8.5, 11}};
    settings.trimStart = 3;
    session().change(settings, "Probe");
    EXPECT_EQ(rows(), (std::vector<std::string>{"+ 0:03.0 4.0 s 3.3 s"}));
    session().undo();
    EXPECT_EQ(rows().size(), 2U);
}

TEST_F(IdleDialogTest, ATimeWithSoundIsNotIdle) {
    openIdleRecording({.amplitude = 0.1, .continuous = true});
    showDialog();
    EXPECT_EQ(summary(), "Kein Leerlauf gefunden.");
}

TEST_F(IdleDialogTest, EveryControlHasANameAndARowSaysWhatItIs) {
    openIdleRecording();
    showDialog();
    for (const QWidget* each : dialog()->findChildren<QWidget*>()) {
        if (!each->isVisible() || (each->focusPolicy() & Qt::TabFocus) == 0) continue;
        EXPECT_FALSE(each->accessibleName().isEmpty()) << each->objectName().toStdString();
    }
    EXPECT_EQ(list().topLevelItem(0)->data(0, Qt::AccessibleTextRole).toString().toStdString(),
              "Leerlauf bei 0:02.0, 5.0 s, spart 4.3 s");
}

TEST_F(IdleDialogTest, ClosesWithTheWindow) {
    openIdleRecording();
    showDialog();
    window_->close();
    EXPECT_FALSE(dialog()->isVisible());
}

TEST_F(IdleDialogTest, EscapeChangesNothing) {
    openIdleRecording();
    showDialog();
    QTest::keyClick(dialog(), Qt::Key_Escape);
    EXPECT_FALSE(dialog()->isVisible());
    EXPECT_TRUE(session().settings().cuts.empty());
    EXPECT_EQ(session().history().undoName(), "");
}

}  // namespace
}  // namespace lumivastor::editor
