// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview_tools.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QMenuBar>

#include "editor/preview/mask_draw_view.h"
#include "support/editor_fixture.h"

// What pointer and keys do in the preview of an editor's window, and its menus.

namespace lumivastor::editor {
namespace {

using Kind = PreviewItem::Kind;

constexpr PreviewItem kFocus{Kind::focus};
constexpr PreviewItem kFirstMask{Kind::mask, 0};
constexpr PreviewItem kBubble{Kind::bubble};

class PreviewToolsTest : public EditorFixture {
  protected:
    void open(bool webcam = false) {
        openWindow(webcam);
        ASSERT_TRUE(awaitInLoop([this] { return frame() != nullptr; }));
    }
    // None while it is a stand-in.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame() {
        const PreviewView& view = *controls().previewView;
        return view.isExact() ? view.frame() : nullptr;
    }
    PreviewTools& tools() { return window().previewTools(); }
    PreviewHandlesView& view() { return *controls().previewHandlesView; }

    // Where something is drawn.
    Rect outlineOf(const PreviewItem& item) {
        for (const auto& outline : view().content().outlines) {
            if (outline.item == item) return outline.rect;
        }
        ADD_FAILURE() << "not drawn";
        return {};
    }
    void clickAt(QPointF at) { QTest::mouseClick(&view(), Qt::LeftButton, {}, at.toPoint()); }
    void hold(QPointF from, QPointF to) {
        QTest::mousePress(&view(), Qt::LeftButton, {}, from.toPoint());
        for (int i = 1; i <= 10; ++i) QTest::mouseMove(&view(), (from + (to - from) * i / 10).toPoint());
    }
    void dragView(QPointF from, QPointF to) {
        hold(from, to);
        QTest::mouseRelease(&view(), Qt::LeftButton, {}, to.toPoint());
    }
    static QPointF middle(const Rect& rect) { return {rect.midX(), rect.midY()}; }
    double sourcePixelsPerPoint() {
        const auto layout = session().composition()->state()->layout;
        return layout.canvas.width / controls().previewView->shownRect().width / layout.contentScale;
    }
};

TEST_F(PreviewToolsTest, AMaskIsSelectedMovedSizedAndDeleted) {
    settings_.zooms = std::vector<model::ZoomSpec>();
    settings_.masks = {{0.25, 0.25, 0.25, 0.25}, {0.6, 0.6, 0.2, 0.2}};
    open();
    press(Qt::Key_E);
    ASSERT_EQ(tools().selection(), kFirstMask);
    EXPECT_TRUE(view().accessibleDescription().startsWith("Bereich 1 von 2"));
    const Rect before = outlineOf(kFirstMask);
    dragView(middle(before), middle(before) + QPointF(40, -20));
    const model::MaskRect moved = session().settings().masks[0];
    EXPECT_NEAR(moved.x, 0.25 + 40 * sourcePixelsPerPoint() / 128, 1.0 / 128);
    EXPECT_NEAR(moved.y, 0.25 - 20 * sourcePixelsPerPoint() / 96, 1.0 / 96);
    EXPECT_EQ(session().history().undoName(), "Bereich verschieben");
    EXPECT_EQ(session().history().undoSteps(), 1u);
    const Rect after = outlineOf(kFirstMask);
    EXPECT_NEAR(after.x, before.x + 40, 1 / sourcePixelsPerPoint());

    dragView({after.maxX(), after.maxY()}, {after.maxX() + 30, after.maxY() + 30});
    EXPECT_GT(session().settings().masks[0].width, moved.width);
    EXPECT_GT(session().settings().masks[0].height, moved.height);
    EXPECT_EQ(session().settings().masks[0].x, moved.x);

    press(Qt::Key_Delete);
    EXPECT_EQ(session().settings().masks, (std::vector<model::MaskRect>{settings_.masks[1]}));
    EXPECT_EQ(tools().selection(), std::nullopt);
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_Z, Qt::ControlModifier);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(session().settings(), settings_);
}

TEST_F(PreviewToolsTest, EscapeTakesADragBackThenEndsTheSelection) {
    settings_.masks = {{0.25, 0.25, 0.25, 0.25}};
    open();
    press(Qt::Key_E);
    const Rect mask = outlineOf(kFirstMask);
    hold(middle(mask), middle(mask) + QPointF(60, 30));
    EXPECT_NE(session().settings(), settings_);
    press(Qt::Key_Escape);
    EXPECT_EQ(session().settings(), settings_);
    QTest::mouseMove(&view(), middle(mask).toPoint());
    QTest::mouseRelease(&view(), Qt::LeftButton, {}, middle(mask).toPoint());
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_EQ(session().history().undoSteps(), 0u);
    EXPECT_EQ(tools().selection(), kFirstMask);
    press(Qt::Key_Escape);
    EXPECT_EQ(tools().selection(), std::nullopt);
    EXPECT_TRUE(view().content().outlines.empty() || !view().content().outlines[0].isSelected);
}

TEST_F(PreviewToolsTest, ArrowsMoveWhatIsSelectedAndElseThePlayhead) {
    settings_.masks = {{0.25, 0.25, 0.25, 0.25}};
    open();
    press(Qt::Key_E);
    press(Qt::Key_Right);
    EXPECT_NEAR(session().settings().masks[0].x * 128, 33, 1e-9);
    press(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_NEAR(session().settings().masks[0].y * 96, 34, 1e-9);
    press(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_NEAR(session().settings().masks[0].width * 128, 33, 1e-9);
    EXPECT_EQ(transport().playhead(), 0);
    EXPECT_EQ(session().history().undoSteps(), 1u) << "quick presses are one step";
    press(Qt::Key_Escape);
    press(Qt::Key_Right);
    EXPECT_GT(transport().playhead(), 0);
}

TEST_F(PreviewToolsTest, TheBubbleIsDraggedToACornerAndSized) {
    open(true);
    transport().scrub(3);
    while (tools().selection() != kBubble) press(Qt::Key_E);
    Rect bubble = outlineOf(kBubble);
    const Rect shown = controls().previewView->shownRect();
    dragView(middle(bubble), QPointF(shown.x + 40, shown.y + 40));
    EXPECT_EQ(session().settings().webcamCorner, 3);
    bubble = outlineOf(kBubble);
    const Point handle = handlePoint(kBubble, bubble, PreviewPart::bottomRight);
    dragView({handle.x, handle.y}, {handle.x + 40, handle.y + 40});
    EXPECT_NEAR(outlineOf(kBubble).width, bubble.width + 40 / 0.854, 3);
    EXPECT_GT(session().settings().webcamSize, settings_.webcamSize + 0.05);
    const std::size_t steps = session().history().undoSteps();
    press(Qt::Key_Delete);
    EXPECT_FALSE(session().settings().webcamEnabled);
    EXPECT_FALSE(find<QCheckBox>("webcamCheckbox")->isChecked());
    EXPECT_EQ(session().history().undoSteps(), steps + 1);
    EXPECT_EQ(session().history().undoName(), "Kamera-Bild ausblenden");
    EXPECT_FALSE(session().hasManualZooms()) << "only what is selected";
    EXPECT_EQ(tools().selection(), std::nullopt);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(session().settings().webcamEnabled);
}

TEST_F(PreviewToolsTest, WhileTheBubbleIsDraggedItIsSeenInTheHandAndWhereItLands) {
    open(true);
    transport().scrub(3);
    while (tools().selection() != kBubble) press(Qt::Key_E);
    auto* view = controls().previewHandlesView;
    const Rect bubble = outlineOf(kBubble);
    const Rect shown = controls().previewView->shownRect();
    const QPoint from = middle(bubble).toPoint();
    EXPECT_EQ(view->content().held, std::nullopt);
    QTest::mousePress(view, Qt::LeftButton, {}, from);
    QTest::mouseMove(view, from - QPoint(30, 0));
    ASSERT_TRUE(view->content().held.has_value());
    EXPECT_NEAR(view->content().held->rect.x, bubble.x - 30, 1.01);
    EXPECT_EQ(outlineOf(kBubble).x, bubble.x) << "it would land where it was";
    QTest::mouseMove(view, QPoint(static_cast<int>(shown.x) + 5, from.y()));
    ASSERT_TRUE(view->content().held.has_value());
    EXPECT_EQ(view->content().held->rect.x, shown.x) << "no further than the picture";
    EXPECT_LT(outlineOf(kBubble).midX(), shown.midX()) << "it would land on the left";
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(static_cast<int>(shown.x) + 5, from.y()));
    EXPECT_EQ(view->content().held, std::nullopt);
}

TEST_F(PreviewToolsTest, AClickInAZoomShowsTheWholePictureWithTheFrame) {
    open();
    const model::ZoomSpec zoom = session().composition()->zoomSpecs().at(0);
    transport().jump(zoom.start + 1);
    const Rect shown = controls().previewView->shownRect();
    EXPECT_TRUE(tools().composition() == session().composition());
    clickAt({shown.x + shown.width / 4, shown.y + 20});
    ASSERT_EQ(tools().selection(), kFocus);
    EXPECT_TRUE(tools().composition()->zoomSpecs().empty());
    EXPECT_FALSE(session().hasManualZooms()) << "looking is no edit";
    EXPECT_EQ(session().history().undoSteps(), 0u);
    const Rect frame = outlineOf(kFocus);
    EXPECT_NEAR(frame.width, shown.width / zoom.scale, 1);

    dragView(middle(frame), middle(frame) + QPointF(50, 30));
    EXPECT_TRUE(session().hasManualZooms());
    EXPECT_NE(session().settings().zooms->at(0).focus[0], zoom.focus[0]);
    EXPECT_EQ(session().history().undoName(), "Ausschnitt des Zooms verschieben");
    EXPECT_EQ(tools().selection(), kFocus);

    press(Qt::Key_Space);
    EXPECT_EQ(tools().selection(), std::nullopt) << "playing shows the video";
    EXPECT_TRUE(tools().composition() == session().composition());
    press(Qt::Key_Space);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(session().settings(), settings_);
}

TEST_F(PreviewToolsTest, AFrameThatIsDraggedBackLeavesTheZoomsProposed) {
    open();
    press(Qt::Key_F);
    ASSERT_EQ(tools().selection(), kFocus);
    const Rect frame = outlineOf(kFocus);
    hold(middle(frame), middle(frame) + QPointF(50, 0));
    EXPECT_TRUE(session().hasManualZooms());
    QTest::mouseMove(&view(), middle(frame).toPoint());
    QTest::mouseRelease(&view(), Qt::LeftButton, {}, middle(frame).toPoint());
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_EQ(session().history().undoSteps(), 0u);
}

TEST_F(PreviewToolsTest, AKeyGoesToTheSelectedZoomAndEditsItsFocus) {
    open();
    const model::ZoomSpec zoom = session().composition()->zoomSpecs().at(0);
    EXPECT_LT(transport().playhead(), zoom.start);
    press(Qt::Key_F);
    EXPECT_EQ(tools().selection(), kFocus);
    EXPECT_NEAR(transport().playhead(), zoom.start + 1, 1e-9);
    const auto before = frame();
    press(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_LT(session().settings().zooms->at(0).scale, zoom.scale);
    press(Qt::Key_F);
    EXPECT_EQ(tools().selection(), std::nullopt);
    EXPECT_TRUE(awaitInLoop([&] { return frame() != before; }));
    // A rectangle is drawn on the picture as the video shows it.
    press(Qt::Key_F);
    click("maskDrawButton");
    EXPECT_EQ(tools().selection(), std::nullopt);
}

TEST_F(PreviewToolsTest, WhatIsSelectedMustBeInSight) {
    open();
    press(Qt::Key_F);
    ASSERT_EQ(tools().selection(), kFocus);
    transport().scrub(0);
    EXPECT_EQ(tools().selection(), std::nullopt);
}

class EditorKeys : public PreviewToolsTest {};

TEST_F(EditorKeys, TrimCutsAndJumps) {
    open();
    transport().scrub(1);
    press(Qt::Key_I);
    EXPECT_EQ(session().settings().trimStart, 1);
    transport().scrub(5);
    press(Qt::Key_O);
    EXPECT_EQ(session().settings().trimEnd, 5);
    transport().scrub(2);
    press(Qt::Key_C);
    EXPECT_EQ(session().pendingCutStart(), 2);
    transport().scrub(3);
    press(Qt::Key_C);
    EXPECT_EQ(session().settings().cuts, (std::vector<model::CutRange>{{2, 3}}));
    EXPECT_EQ(session().pendingCutStart(), std::nullopt);
    press(Qt::Key_Home);
    EXPECT_EQ(transport().playhead(), 1);
    press(Qt::Key_End);
    EXPECT_NEAR(transport().playhead(), 5 - 1.0 / 30, 1e-9);
    press(Qt::Key_Up);
    EXPECT_LT(transport().playhead(), 5 - 2.0 / 30);
    const double there = transport().playhead();
    press(Qt::Key_Down);
    EXPECT_GT(transport().playhead(), there);
    press(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(session().settings().cuts.size(), 1u);
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(session().settings().cuts.empty());
    press(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(session().settings().cuts.size(), 1u);
}

TEST_F(EditorKeys, TheShuttlePlaysBothWays) {
    open();
    transport().scrub(3);
    press(Qt::Key_J);
    EXPECT_EQ(window().shuttle().rate(), -1);
    EXPECT_EQ(textOf("statusLabel"), "Rücklauf 1×");
    EXPECT_TRUE(awaitInLoop([this] { return transport().playhead() < 2.5; }));
    press(Qt::Key_K);
    EXPECT_EQ(window().shuttle().rate(), 0);
    EXPECT_EQ(textOf("statusLabel"), "");
    const double there = transport().playhead();
    press(Qt::Key_L);
    EXPECT_TRUE(transport().isPlaying());
    press(Qt::Key_L);
    EXPECT_FALSE(transport().isPlaying());
    EXPECT_EQ(textOf("statusLabel"), "Vorlauf 2×");
    EXPECT_TRUE(awaitInLoop([&] { return transport().playhead() > there + 0.3; }));
    press(Qt::Key_Space);
    EXPECT_EQ(window().shuttle().rate(), 0);
    EXPECT_FALSE(transport().isPlaying());
}

TEST_F(EditorKeys, FullScreenIsThePictureWithThinControls) {
    open();
    press(Qt::Key_F11);
    EXPECT_TRUE(window().isFullScreen());
    EXPECT_FALSE(find("menuBar")->isVisible());
    EXPECT_FALSE(find("trimStartButton")->isVisible());
    EXPECT_FALSE(find("paddingSlider")->isVisible());
    EXPECT_FALSE(find("renderButton")->isVisible());
    EXPECT_TRUE(find("playButton")->isVisible());
    EXPECT_TRUE(find("timeSlider")->isVisible());
    press(Qt::Key_Escape);
    EXPECT_FALSE(window().isFullScreen());
    EXPECT_TRUE(find("menuBar")->isVisible());
    EXPECT_TRUE(find("trimStartButton")->isVisible());
    press(Qt::Key_F11);
    press(Qt::Key_F11);
    EXPECT_FALSE(window().isFullScreen());
    EXPECT_TRUE(find("renderButton")->isVisible());
}

TEST_F(EditorKeys, APageShowsThem) {
    open();
    press(Qt::Key_F1);
    auto* page = window().findChild<KeyPage*>("keyPage");
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(page->isVisible());
    std::string texts;
    for (const QLabel* label : page->findChildren<QLabel*>()) texts += label->text().toStdString() + "\n";
    for (const CommandEntry& entry : commandTable()) {
        if (entry.keys[0].empty()) continue;
        EXPECT_NE(texts.find(entry.title), std::string::npos) << entry.title;
        EXPECT_NE(texts.find(keyText(entry.keys[0])), std::string::npos) << entry.title;
    }
    QTest::keyClick(page, Qt::Key_Question, Qt::ShiftModifier);
    EXPECT_FALSE(page->isVisible());
    press(Qt::Key_Question, Qt::ShiftModifier);
    EXPECT_TRUE(awaitInLoop([this] {
        const auto pages = window().findChildren<KeyPage*>("keyPage");
        return pages.size() == 1 && pages[0]->isVisible();
    }));
}

TEST_F(EditorKeys, MenusHaveAllCommandsAndNameTheSteps) {
    open();
    auto* bar = find<QMenuBar>("menuBar");
    const auto item = [bar](const QString& text) -> QAction* {
        for (QAction* menu : bar->actions()) {
            for (QAction* each : menu->menu()->actions()) {
                if (each->text().section('\t', 0, 0) == text) return each;
            }
        }
        return nullptr;
    };
    std::vector<std::string> menus;
    for (const QAction* menu : bar->actions()) menus.push_back(menu->text().remove('&').toStdString());
    EXPECT_EQ(menus, (std::vector<std::string>{"Datei", "Bearbeiten", "Look", "Ansicht", "Wiedergabe", "Hilfe"}));
    for (const CommandEntry& entry : commandTable()) {
        // Nothing prepares films for this editor.
        if (entry.command == Command::prepareFilms) continue;
        EXPECT_NE(item(QString::fromUtf8(entry.title.data(), static_cast<qsizetype>(entry.title.size()))), nullptr)
            << entry.title;
    }
    EXPECT_EQ(item("Im Hintergrund vorbereiten"), nullptr);
    EXPECT_FALSE(item("Rückgängig")->isEnabled());
    drag("paddingSlider", 0.9);
    QAction* undo = item("Rückgängig: Rand");
    ASSERT_NE(undo, nullptr);
    EXPECT_TRUE(undo->isEnabled());
    EXPECT_EQ(undo->text().section('\t', 1), "Strg+Z");
    undo->trigger();
    EXPECT_EQ(session().settings(), settings_);
    EXPECT_TRUE(item("Wiederholen: Rand")->isEnabled());
    transport().toggle();
    EXPECT_NE(item("Anhalten"), nullptr);
    transport().toggle();
    EXPECT_NE(item("Abspielen"), nullptr);
}

TEST_F(EditorKeys, DeleteTakesWhatIsSelectedOnTheStripOtherwise) {
    open();
    const auto zooms = session().composition()->zoomSpecs().size();
    ASSERT_GT(zooms, 0u);
    press(Qt::Key_Delete);
    EXPECT_EQ(session().composition()->zoomSpecs().size(), zooms - 1);
    EXPECT_TRUE(session().hasManualZooms());
}

}  // namespace
}  // namespace lumivastor::editor
