// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline_tools.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QContextMenuEvent>
#include <QMenu>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QScrollBar>
#include <QWheelEvent>
#include <cmath>

#include "editor/session/frame_time.h"
#include "editor/session/labels.h"
#include "support/editor_fixture.h"

// The strip in its window, worked with pointer and keys.

namespace lumivastor::editor {
namespace {

class TimelineToolsTest : public EditorFixture {
  protected:
    TimelineToolsTest() {
        settings_.zooms = {{{1, 2, 2, {{1.7, 0.3, 0.3}}}, {3, 4.5, 2, {{3.7, 0.6, 0.6}}}}};
        settings_.cuts = {{5, 5.5}};
    }

    TimelineStrip& strip() { return controls().transportBar.strip(); }
    double x(double seconds) {
        const Interval visible = strip().visible();
        const TimeScale scale(visible, kMargin, strip().width() - kMargin);
        return scale.at(seconds);
    }
    QPoint inZooms(double seconds) { return QPointF(x(seconds), strip().lanes().zooms.middle()).toPoint(); }
    QPoint inTrack(double seconds) { return QPointF(x(seconds), strip().lanes().clicks.middle()).toPoint(); }
    void press(QPoint at) { QTest::mousePress(&strip(), Qt::LeftButton, {}, at); }
    // QTest moves with no keys, and as a hover when it has no window.
    void move(QPoint at, Qt::KeyboardModifiers keys = {}) {
        QMouseEvent event(QEvent::MouseMove, QPointF(at), strip().mapToGlobal(QPointF(at)), Qt::NoButton,
                          Qt::LeftButton, keys);
        QApplication::sendEvent(&strip(), &event);
    }
    void release(QPoint at) { QTest::mouseRelease(&strip(), Qt::LeftButton, {}, at); }
    void dragFromTo(QPoint from, QPoint to, Qt::KeyboardModifiers keys = {}) {
        press(from);
        for (int i = 1; i <= 5; ++i) move(from + (to - from) * i / 5, keys);
        release(to);
    }
    void wheel(double seconds, int delta, Qt::KeyboardModifiers keys = {}) {
        const QPointF at(x(seconds), 30);
        QWheelEvent event(at, strip().mapToGlobal(at), {}, {0, delta}, Qt::NoButton, keys, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&strip(), &event);
    }
    const model::ZoomSpec& zoom(int index) {
        return session().composition()->state()->zoomSpecs.at(static_cast<std::size_t>(index));
    }
    // A point is so long.
    double tolerance() { return 1.5 * strip().visible().length() / (strip().width() - 2 * kMargin) + 0.5 / 30; }

    static constexpr double kMargin = 8;
};

TEST_F(TimelineToolsTest, AZoomIsSelectedMovedAndTakenBackInOneStep) {
    openWindow();
    press(inZooms(3.5));
    release(inZooms(3.5));
    EXPECT_EQ(session().selectedZoom(), 1);
    EXPECT_EQ(strip().selection(), (StripSelection{StripSelection::Kind::zoom, 1}));
    EXPECT_EQ(transport().playhead(), 0) << "a press on a zoom does not scrub";
    EXPECT_EQ(session().history().undoSteps(), 0u);

    dragFromTo(inZooms(3.5), inZooms(3.25), Qt::AltModifier);
    EXPECT_NEAR(zoom(1).start, 2.75, tolerance());
    EXPECT_NEAR(zoom(1).end - zoom(1).start, 1.5, 1e-9);
    EXPECT_NEAR(zoom(1).focus[0].t - zoom(1).start, 0.7, 1e-9);
    EXPECT_EQ(session().history().undoSteps(), 1u);
    EXPECT_EQ(session().history().undoName(), "Zoom verschieben");
    // It stops at its neighbour.
    dragFromTo(inZooms(3.5), inZooms(0.5), Qt::AltModifier);
    EXPECT_EQ(zoom(1).start, 2);
    session().undo();
    session().undo();
    EXPECT_EQ(session().settings(), settings_);
}

TEST_F(TimelineToolsTest, EndsOfZoomsCutsAndTrimAreDragged) {
    openWindow();
    dragFromTo(inZooms(2), inZooms(2.6), Qt::AltModifier);
    EXPECT_NEAR(zoom(0).end, 2.6, tolerance());
    EXPECT_EQ(zoom(0).start, 1);
    dragFromTo(inZooms(3), inZooms(3.3), Qt::AltModifier);
    EXPECT_NEAR(zoom(1).start, 3.3, tolerance());
    dragFromTo(inTrack(5), inTrack(4.7), Qt::AltModifier);
    EXPECT_NEAR(session().settings().cuts[0].start, 4.7, tolerance());
    EXPECT_EQ(strip().selection(), (StripSelection{StripSelection::Kind::cut, 0}));
    dragFromTo(inTrack(0) - QPoint(3, 0), inTrack(0.4), Qt::AltModifier);
    EXPECT_NEAR(session().settings().trimStart, 0.4, 2 * tolerance());
    dragFromTo(inTrack(6) + QPoint(3, 0), inTrack(5.8), Qt::AltModifier);
    EXPECT_NEAR(session().settings().trimEnd, 5.8, 2 * tolerance());
    EXPECT_EQ(session().history().undoSteps(), 5u);
    EXPECT_EQ(session().history().undoName(), "Ende setzen");
    window().close();
    EXPECT_EQ(saved(), session().settings());
}

TEST_F(TimelineToolsTest, EscapeTakesADragBack) {
    openWindow();
    press(inZooms(3.5));
    move(inZooms(3.7));
    move(inZooms(3.9));
    EXPECT_TRUE(session().isDragging());
    EXPECT_NE(session().settings(), settings_) << "it is in force while it is dragged";
    QTest::keyClick(&strip(), Qt::Key_Escape);
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_EQ(session().history().undoSteps(), 0u);
    move(inZooms(4.2));
    release(inZooms(4.2));
    EXPECT_EQ(session().settings(), settings_);
}

TEST_F(TimelineToolsTest, EndsSnapUnlessAltIsHeld) {
    openWindow();
    // The first click is at 1.5 s.
    dragFromTo(inZooms(2), inZooms(1.5) + QPoint(4, 0));
    EXPECT_EQ(zoom(0).end, 1.5);
    session().undo();
    dragFromTo(inZooms(2), inZooms(1.5) + QPoint(4, 0), Qt::AltModifier);
    EXPECT_GT(zoom(0).end, 1.5);
    session().undo();
    transport().jump(2.4);
    dragFromTo(inZooms(2), inZooms(2.4) - QPoint(4, 0));
    EXPECT_EQ(zoom(0).end, 2.4);
}

TEST_F(TimelineToolsTest, ProposedZoomsBecomeAListWhenOneIsDragged) {
    settings_.zooms.reset();
    openWindow();
    const auto before = session().composition()->state()->zoomSpecs;
    ASSERT_FALSE(before.empty());
    const double start = before[0].start;
    press(inZooms(start + 0.5));
    release(inZooms(start + 0.5));
    EXPECT_FALSE(session().hasManualZooms());
    dragFromTo(inZooms(start + 0.5), inZooms(start + 0.3), Qt::AltModifier);
    EXPECT_TRUE(session().hasManualZooms());
    EXPECT_EQ(textOf("zoomModeLabel"), "von Hand bearbeitet");
    EXPECT_EQ(session().settings().zooms->size(), before.size());
    session().undo();
    EXPECT_FALSE(session().hasManualZooms());
}

TEST_F(TimelineToolsTest, TheDeleteKeyDeletesWhatIsSelected) {
    openWindow();
    press(inTrack(5.25));
    release(inTrack(5.25));
    QTest::keyClick(&strip(), Qt::Key_Delete);
    EXPECT_TRUE(session().settings().cuts.empty());
    EXPECT_EQ(session().history().undoName(), "Schnitt entfernen");
    press(inZooms(1.5));
    release(inZooms(1.5));
    QTest::keyClick(&strip(), Qt::Key_Delete);
    EXPECT_EQ(session().settings().zooms->size(), 1u);
    EXPECT_EQ(session().settings().zooms->at(0).start, 3);
}

TEST_F(TimelineToolsTest, ArrowsMoveWhatIsSelectedByFrames) {
    openWindow();
    press(inZooms(3.5));
    release(inZooms(3.5));
    QTest::keyClick(&strip(), Qt::Key_Right, Qt::ControlModifier);
    EXPECT_NEAR(zoom(1).start, 3 + 1.0 / 30, 1e-9);
    QTest::keyClick(&strip(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_NEAR(zoom(1).end, 4.5, 1e-9);
    QTest::keyClick(&strip(), Qt::Key_Left, Qt::AltModifier | Qt::ShiftModifier);
    EXPECT_NEAR(zoom(1).start, 3, 1e-9);
    EXPECT_EQ(session().history().undoSteps(), 3u);
    EXPECT_EQ(transport().playhead(), 0);
    // A key that is held is one step.
    QTest::keyPress(&strip(), Qt::Key_Right, Qt::ControlModifier);
    QTest::keyPress(&strip(), Qt::Key_Right, Qt::ControlModifier);
    QTest::keyRelease(&strip(), Qt::Key_Right, Qt::ControlModifier);
    EXPECT_NEAR(zoom(1).start, 3 + 2.0 / 30, 1e-9);
    EXPECT_EQ(session().history().undoSteps(), 4u);
}

TEST_F(TimelineToolsTest, ArrowsUpAndDownSelectZoomsAndCuts) {
    openWindow();
    strip().setFocus(Qt::TabFocusReason);
    QTest::keyClick(&strip(), Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(session().selectedZoom(), 1);
    QTest::keyClick(&strip(), Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(strip().selection(), (StripSelection{StripSelection::Kind::cut, 0}));
    QTest::keyClick(&strip(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_NEAR(session().settings().cuts[0].end, 5.5 - 1.0 / 30, 1e-9);
    QTest::keyClick(&strip(), Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(strip().selection(), (StripSelection{StripSelection::Kind::zoom, 1}));
    EXPECT_EQ(transport().playhead(), 0);
}

TEST_F(TimelineToolsTest, ADragBeyondTheEdgeScrolls) {
    openWindow();
    for (int i = 0; i < 4; ++i) wheel(2, 120, Qt::ControlModifier);
    ASSERT_LT(strip().visible().end, kSeconds);
    const QPoint outside(strip().width() + 5, static_cast<int>(strip().lanes().clicks.middle()));
    press(inTrack(2.5));
    move(outside);
    EXPECT_TRUE(awaitInLoop([this] { return strip().visible().end == kSeconds; }));
    EXPECT_NEAR(transport().playhead(), kSeconds, 0.05);
    release(outside);
}

TEST_F(TimelineToolsTest, ADoubleClickLooksAtTheZoom) {
    openWindow();
    QTest::mouseDClick(&strip(), Qt::LeftButton, {}, inZooms(3.5));
    EXPECT_EQ(session().selectedZoom(), 1);
    EXPECT_EQ(transport().playhead(), 4);
}

TEST_F(TimelineToolsTest, EmptyPlacesRulerAndClicksScrub) {
    openWindow();
    press(inTrack(2.5));
    EXPECT_NEAR(transport().playhead(), 2.5, tolerance());
    move(inTrack(4.2));
    EXPECT_NEAR(transport().playhead(), 4.2, tolerance());
    release(inTrack(4.2));
    press({static_cast<int>(x(1.2)), 5});
    EXPECT_NEAR(transport().playhead(), 1.2, tolerance());
    release({static_cast<int>(x(1.2)), 5});
    // The first click is at 1.5 s.
    press(inTrack(1.5) + QPoint(2, 0));
    EXPECT_NEAR(transport().playhead(), 1.5, 0.02);
    EXPECT_EQ(session().settings(), settings_);
}

TEST_F(TimelineToolsTest, TheWheelZoomsAroundThePointerAndScrolls) {
    openWindow();
    auto* bar = find<QScrollBar>("stripScrollBar");
    EXPECT_FALSE(bar->isVisible());
    const double place = x(3);
    for (int i = 0; i < 5; ++i) wheel(3, 120, Qt::ControlModifier);
    EXPECT_NEAR(x(3), place, 0.01);
    EXPECT_NEAR(strip().visible().length(), kSeconds / std::pow(1.25, 5), 1e-9);
    EXPECT_TRUE(bar->isVisible());
    const double before = strip().visible().start;
    wheel(3, -120);
    EXPECT_GT(strip().visible().start, before);
    EXPECT_EQ(bar->value(), std::lround(strip().visible().start * 1000));
    bar->setValue(bar->maximum());
    EXPECT_NEAR(strip().visible().end, kSeconds, 0.001);
    strip().showAll();
    EXPECT_EQ(strip().visible(), (Interval{0, kSeconds}));
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(TimelineToolsTest, TwoFingersZoomAndTheMiddleButtonScrolls) {
    openWindow();
    const double place = x(2);
    const QPointF at(place, 40);
    QNativeGestureEvent pinch(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(), 2, at, at,
                              strip().mapToGlobal(at), 0.5, {});
    QApplication::sendEvent(&strip(), &pinch);
    EXPECT_NEAR(strip().visible().length(), kSeconds / 1.5, 1e-9);
    EXPECT_NEAR(x(2), place, 0.01);
    strip().zoomBy(2);
    transport().jump(3);
    const double held = TimeScale(strip().visible(), kMargin, strip().width() - kMargin).secondsAt(300);
    QTest::mousePress(&strip(), Qt::MiddleButton, {}, {300, 40});
    move({250, 40});
    EXPECT_NEAR(x(held), 250, 0.5);
    QTest::mouseRelease(&strip(), Qt::MiddleButton, {}, {250, 40});
    move({400, 40});
    EXPECT_NEAR(x(held), 250, 0.5);
    EXPECT_EQ(transport().playhead(), 3) << "it does not scrub";
}

TEST_F(TimelineToolsTest, TheStripShowsTheSelectionAndThePlayhead) {
    openWindow();
    press(inZooms(3.5));
    release(inZooms(3.5));
    strip().showSelection();
    EXPECT_LT(strip().visible().start, 3);
    EXPECT_GT(strip().visible().end, 4.5);
    EXPECT_LT(strip().visible().length(), 2.5);
    transport().jump(0.5);
    EXPECT_TRUE(strip().visible().contains(0.5)) << "a playhead that jumps is brought into view";
    EXPECT_LT(strip().visible().length(), 2.5);
    strip().zoomBy(2);
    EXPECT_TRUE(strip().visible().contains(0.5));
}

TEST_F(TimelineToolsTest, ItsMenuHasCommandsForThePlace) {
    openWindow();
    const auto choose = [this](QPoint at, const char* text) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, strip().mapToGlobal(at));
        QApplication::sendEvent(&strip(), &event);
        auto* menu = strip().findChild<QMenu*>("stripMenu");
        ASSERT_NE(menu, nullptr);
        for (QAction* action : menu->actions()) {
            if (action->text() != text) continue;
            EXPECT_TRUE(action->isEnabled()) << text;
            action->trigger();
        }
        delete menu;
    };
    choose(inTrack(5.25), "Schnitt entfernen");
    EXPECT_TRUE(session().settings().cuts.empty());
    choose(inTrack(0.5), "Schnitt von hier");
    choose(inTrack(0.8), "Schnitt bis hier");
    ASSERT_EQ(session().settings().cuts.size(), 1u);
    EXPECT_NEAR(session().settings().cuts[0].start, 0.5, 2 * tolerance());
    choose(inZooms(3.5), "Zoom löschen");
    EXPECT_EQ(session().settings().zooms->size(), 1u);
    choose(inTrack(3), "Zoom hier hinzufügen");
    EXPECT_EQ(session().settings().zooms->size(), 2u);
    choose(inTrack(5.7), "Video hier beenden");
    EXPECT_NEAR(session().settings().trimEnd, 5.7, 2 * tolerance());
    choose(inTrack(3), "Ganze Aufnahme");
    EXPECT_EQ(session().settings().trimEnd, 0);
    choose(inTrack(3), "Automatische Zooms");
    EXPECT_FALSE(session().hasManualZooms());
}

TEST_F(TimelineToolsTest, AssistiveProgramsReadTheSelection) {
    openWindow();
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&strip());
    EXPECT_EQ(accessible->text(QAccessible::Name), "Zeitleiste");
    EXPECT_EQ(accessible->text(QAccessible::Value), "Zoom 1: 0:01.00 – 0:02.00 ausgewählt. Abspielposition 0:00.00");
    EXPECT_NE(strip().focusPolicy() & Qt::TabFocus, 0);
}

TEST_F(TimelineToolsTest, ThePointerHasTheShapeOfWhatADragWouldDo) {
    openWindow();
    QTest::mouseMove(&strip(), inZooms(3.5));
    EXPECT_EQ(strip().cursor().shape(), Qt::OpenHandCursor);
    QTest::mouseMove(&strip(), inZooms(4.5));
    EXPECT_EQ(strip().cursor().shape(), Qt::SizeHorCursor);
    QTest::mouseMove(&strip(), inTrack(2.5));
    EXPECT_EQ(strip().cursor().shape(), Qt::ArrowCursor);
}

}  // namespace
}  // namespace lumivastor::editor
