// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTreeWidget>
#include <QWindow>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "editor/exports/export_dialog.h"
#include "editor/idle_dialog.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_handles_view.h"
#include "editor/session/frame_time.h"
#include "editor/timeline/timeline_strip.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/editor_fixture.h"
#include "support/program_run.h"
#include "ui/value_slider.h"

// The editor's window on a real display server: what its pointer and keys do arrives there by the ways that a user's
// do.

namespace lumivastor {
namespace {

constexpr std::uint32_t kEscape = 0xFF1B;
constexpr std::uint32_t kSpace = 0x20;
constexpr std::uint32_t kRight = 0xFF53;
constexpr std::uint32_t kShift = 0xFFE1;
constexpr std::uint32_t kControl = 0xFFE3;
constexpr std::uint32_t kZ = 'z';
constexpr std::uint32_t kDelete = 0xFFFF;
constexpr std::uint32_t kHome = 0xFF50;
constexpr std::uint32_t kDown = 0xFF54;
constexpr std::uint32_t kF1 = 0xFFBE;
constexpr std::uint32_t kF11 = 0xFFC8;

constexpr double kMostPadding = 0.14;  // where its slider ends

// The rig's screen and the application on it; outside of all that has widgets.
class Desktop {
  public:
    Desktop() : rig_({.width = 1600, .height = 1000, .hasWindowManager = false}) {
        // NOLINTBEGIN(concurrency-mt-unsafe): no other thread reads the environment
        setenv("QT_QPA_PLATFORM", "xcb", 1);
        setenv("DISPLAY", rig_.displayName().c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
        // NOLINTEND(concurrency-mt-unsafe)
        application_ = std::make_unique<QApplication>(arguments_, words_);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    DesktopRig& rig() { return rig_; }

  private:
    int arguments_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    DesktopRig rig_;
    std::unique_ptr<QApplication> application_;
};

// A base, so that the application is there before the fixture is.
struct HasDesktop {
    Desktop desktop;
};

class EditorOnX11 : public HasDesktop, public EditorFixture {
  protected:
    EditorOnX11() : pointer_(desktop.rig().displayName()) {}

    void show(bool webcam = false) {
        openWindow(webcam);
        // Without a window manager, this window does not get the keyboard by itself.
        xcb_set_input_focus(desktop.rig().connection(), XCB_INPUT_FOCUS_PARENT,
                            static_cast<xcb_window_t>(window().winId()), XCB_CURRENT_TIME);
        desktop.rig().sync();
        ASSERT_TRUE(awaitInLoop([this] { return window().isActiveWindow(); }));
        ASSERT_TRUE(awaitInLoop([this] { return controls().previewView->isExact(); }));
    }

    void moveTo(const QWidget& widget, QPointF at) {
        const QPoint global = widget.mapToGlobal(at).toPoint();
        pointer_.moveTo(global.x(), global.y());
        QApplication::processEvents();
    }
    void clickOn(const char* name) {
        auto* button = find<QAbstractButton>(name);
        moveTo(*button, QRectF(button->rect()).center());
        pointer_.click(1);
        QApplication::processEvents();
    }
    void dragOn(const QWidget& widget, QPointF from, QPointF to) {
        moveTo(widget, from);
        pointer_.press(1);
        for (int i = 1; i <= 10; ++i) moveTo(widget, from + (to - from) * i / 10);
        pointer_.release(1);
        QApplication::processEvents();
    }
    // A drag in the preview, and what is drawn there.
    void dragInPreview(QPointF from, QPointF to) { dragOn(*controls().previewHandlesView, from, to); }
    QRectF outlineOf(editor::PreviewItem::Kind kind) {
        for (const auto& outline : controls().previewHandlesView->content().outlines) {
            const Rect& rect = outline.rect;
            if (outline.item.kind == kind && outline.isSelected) return {rect.x, rect.y, rect.width, rect.height};
        }
        return {};
    }
    bool awaitSelected(editor::PreviewItem::Kind kind) {
        return awaitInLoop([this, kind] { return !outlineOf(kind).isEmpty(); });
    }

    static QPointF handleAt(const ui::ValueSlider& slider, double part) {
        const double way = slider.width() - 2 * ui::ValueSlider::kHandleInset;
        return {ui::ValueSlider::kHandleInset + way * part, slider.height() / 2.0};
    }

    void key(std::uint32_t symbol, std::initializer_list<std::uint32_t> with = {}) {
        for (const std::uint32_t each : with) fakeKey(XCB_KEY_PRESS, each);
        fakeKey(XCB_KEY_PRESS, symbol);
        fakeKey(XCB_KEY_RELEASE, symbol);
        for (const std::uint32_t each : with) fakeKey(XCB_KEY_RELEASE, each);
        desktop.rig().sync();
        QApplication::processEvents();
    }

    ScriptedPointer pointer_;

  private:
    void fakeKey(std::uint8_t type, std::uint32_t symbol) {
        xcb_connection_t* connection = desktop.rig().connection();
        xcb_test_fake_input(connection, type, codeOf(symbol), XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }
    std::uint8_t codeOf(std::uint32_t symbol) {
        xcb_connection_t* connection = desktop.rig().connection();
        const xcb_setup_t* setup = xcb_get_setup(connection);
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> reply(
            xcb_get_keyboard_mapping_reply(connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count),
                                           nullptr),
            &std::free);
        const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
        for (int i = 0; i < count; ++i) {
            if (symbols[i * reply->keysyms_per_keycode] == symbol) {
                return static_cast<std::uint8_t>(setup->min_keycode + i);
            }
        }
        ADD_FAILURE() << "the rig's keyboard has no key " << symbol;
        return setup->min_keycode;
    }
};

TEST_F(EditorOnX11, ASessionWithPointerAndKeys) {
    show();
    auto* time = find<ui::ValueSlider>("timeSlider");
    dragOn(*time, handleAt(*time, 0), handleAt(*time, 0.5));
    ASSERT_TRUE(awaitInLoop([this] { return std::abs(transport().playhead() - kSeconds / 2) < 0.05; }));
    clickOn("trimStartButton");
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().trimStart > 0; }));
    EXPECT_EQ(session().settings().trimStart, editor::snappedToFrame(transport().playhead(), session().info().fps));

    auto* padding = find<ui::ValueSlider>("paddingSlider");
    const double usual = session().settings().padding;
    dragOn(*padding, handleAt(*padding, usual / kMostPadding), handleAt(*padding, 0.9));
    ASSERT_TRUE(awaitInLoop([&] { return session().settings().padding > 0.12; }));

    const double before = transport().playhead();
    key(kRight);
    ASSERT_TRUE(awaitInLoop([&] { return transport().playhead() > before; }));
    key(kRight, {kShift});
    ASSERT_TRUE(awaitInLoop([&] { return transport().playhead() > before + 1; }));
    key(kZ, {kControl});
    ASSERT_TRUE(awaitInLoop([&] { return session().settings().padding == usual; }));
    key(kZ, {kControl, kShift});
    ASSERT_TRUE(awaitInLoop([&] { return session().settings().padding > 0.12; }));
    key(kSpace);
    ASSERT_TRUE(awaitInLoop([this] { return transport().isPlaying(); }));
    key(kSpace);
    ASSERT_TRUE(awaitInLoop([this] { return !transport().isPlaying(); }));

    clickOn("maskDrawButton");
    ASSERT_TRUE(awaitInLoop([this] { return controls().maskDrawView->isDrawing(); }));
    const Rect area = controls().previewView->shownRect();
    dragOn(*controls().maskDrawView, {area.x + area.width * 0.4, area.y + area.height * 0.4},
           {area.x + area.width * 0.6, area.y + area.height * 0.6});
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().masks.size() == 1; }));
    EXPECT_FALSE(controls().maskDrawView->isDrawing());
    const model::ProjectSettings expected = session().settings();
    window().close();
    EXPECT_EQ(saved(), expected);
}

TEST_F(EditorOnX11, ZoomsCutsAndTrimAreDraggedOnTheTimeline) {
    settings_.zooms = {{{1, 2, 2, {{1.7, 0.3, 0.3}}}, {3, 4, 2, {{3.7, 0.6, 0.6}}}}};
    settings_.cuts = {{5, 5.4}};
    show();
    editor::TimelineStrip& strip = controls().transportBar.strip();
    const editor::TimeScale scale(strip.visible(), ui::ValueSlider::kHandleInset,
                                  strip.width() - ui::ValueSlider::kHandleInset);
    const double inZooms = strip.lanes().zooms.middle();
    const double inTrack = strip.lanes().clicks.middle();
    const auto drag = [&](double y, double from, double to) { dragOn(strip, {scale.at(from), y}, {scale.at(to), y}); };
    const auto settled = [this](auto condition) {
        return awaitInLoop([&] { return condition(session().settings()); });
    };
    // Places to which nothing is near, so that nothing snaps.
    drag(inZooms, 3.5, 3.75);
    ASSERT_TRUE(settled([](const auto& now) { return now.zooms->at(1).start > 3.2; }));
    EXPECT_NEAR(session().settings().zooms->at(1).end - session().settings().zooms->at(1).start, 1, 1e-9);
    drag(inZooms, 2, 2.6);
    ASSERT_TRUE(settled([](const auto& now) { return std::abs(now.zooms->at(0).end - 2.6) < 0.05; }));
    drag(inTrack, 5.4, 5.7);
    ASSERT_TRUE(settled([](const auto& now) { return std::abs(now.cuts.at(0).end - 5.7) < 0.05; }));
    EXPECT_EQ(session().settings().cuts.at(0).start, 5);
    const double aside = scale.seconds(4);
    drag(inTrack, -aside, 0.5 - aside);
    ASSERT_TRUE(settled([](const auto& now) { return std::abs(now.trimStart - 0.5) < 0.05; }));
    EXPECT_EQ(session().history().undoSteps(), 4u);
    EXPECT_EQ(transport().playhead(), 0) << "no drag scrubs";

    // Esc takes back what the button still holds.
    const model::ProjectSettings expected = session().settings();
    moveTo(strip, {scale.at(1.5), inZooms});
    pointer_.press(1);
    for (double t = 1.5; t > 1.2; t -= 0.05) moveTo(strip, {scale.at(t), inZooms});
    ASSERT_TRUE(awaitInLoop([&] { return session().settings() != expected; }));
    key(kEscape);
    ASSERT_TRUE(awaitInLoop([&] { return session().settings() == expected; }));
    pointer_.release(1);
    QApplication::processEvents();
    window().close();
    EXPECT_EQ(saved(), expected);
}

TEST_F(EditorOnX11, TheScreenShowsThePixelsOfTheFrame) {
    show();
    const auto differing = [this] {
        const auto frame = controls().previewView->frame();
        const Rect shown = controls().previewView->shownRect();
        const QPoint at = controls().previewView->mapTo(&window(), QPointF(shown.x, shown.y)).toPoint();
        const QImage screen = window()
                                  .screen()
                                  ->grabWindow(window().winId())
                                  .toImage()
                                  .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        if (frame->width() != shown.width || frame->height() != shown.height) return -1;
        int count = 0;
        for (int y = 0; y < frame->height(); ++y) {
            for (int x = 0; x < frame->width(); ++x) {
                const QRgb pixel = screen.pixel(at.x() + x, at.y() + y);
                const std::uint8_t* expected = frame->pixel(x, y);
                if (qBlue(pixel) != expected[0] || qGreen(pixel) != expected[1] || qRed(pixel) != expected[2]) ++count;
            }
        }
        return count;
    };
    EXPECT_TRUE(awaitInLoop([&] { return differing() == 0; })) << differing() << " pixels differ";
}

TEST_F(EditorOnX11, AMaskIsDraggedSizedAndDeletedInThePreview) {
    using Kind = editor::PreviewItem::Kind;
    settings_.zooms = std::vector<model::ZoomSpec>();
    settings_.masks = {{0.25, 0.25, 0.25, 0.25}, {0.6, 0.6, 0.25, 0.25}};
    show();
    const edit::StudioLayout layout = session().composition()->state()->layout;
    const Rect shown = controls().previewView->shownRect();
    const double points = shown.width / layout.canvas.width * layout.contentScale;  // for a source pixel
    const auto placeOf = [&](double x, double y) {
        const Point canvas = edit::canvasPoint(layout, {x * 128, y * 96});
        return QPointF(shown.x + canvas.x * shown.width / layout.canvas.width,
                       shown.maxY() - canvas.y * shown.height / layout.canvas.height);
    };
    // Taken hold of where it lies, without selecting it first.
    dragInPreview(placeOf(0.375, 0.375), placeOf(0.375, 0.375) + QPointF(16, 8) * points);
    ASSERT_TRUE(awaitInLoop([this] { return session().history().undoSteps() == 1; }));
    EXPECT_NEAR(session().settings().masks[0].x * 128, 32 + 16, 1.01);
    EXPECT_NEAR(session().settings().masks[0].y * 96, 24 + 8, 1.01);
    ASSERT_TRUE(awaitSelected(Kind::mask));
    const QRectF mask = outlineOf(Kind::mask);
    dragInPreview(mask.bottomRight(), mask.bottomRight() + QPointF(-8, -8) * points);
    ASSERT_TRUE(awaitInLoop([this] { return session().history().undoSteps() == 2; }));
    EXPECT_NEAR(session().settings().masks[0].width * 128, 32 - 8, 1.01);
    EXPECT_NEAR(session().settings().masks[0].height * 96, 24 - 8, 1.01);

    // Esc takes back what the button still holds.
    const model::ProjectSettings before = session().settings();
    moveTo(*controls().previewHandlesView, outlineOf(Kind::mask).center());
    pointer_.press(1);
    moveTo(*controls().previewHandlesView, outlineOf(Kind::mask).center() + QPointF(60, 40));
    ASSERT_TRUE(awaitInLoop([&] { return session().settings() != before; }));
    key(kEscape);
    ASSERT_TRUE(awaitInLoop([&] { return session().settings() == before; }));
    pointer_.release(1);
    key(kRight);
    ASSERT_TRUE(awaitInLoop(
        [&] { return std::abs(session().settings().masks[0].x * 128 - before.masks[0].x * 128 - 1) < 1e-6; }));
    EXPECT_EQ(transport().playhead(), 0);
    const model::ProjectSettings moved = session().settings();
    key('e');
    key(kDelete);
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().masks.size() == 1; }));
    EXPECT_EQ(session().settings().masks[0], moved.masks[0]) << "the second one was selected";
    window().close();
    EXPECT_EQ(saved().masks, (std::vector<model::MaskRect>{moved.masks[0]}));
}

TEST_F(EditorOnX11, TheBubbleIsDraggedToACornerAndSized) {
    using Kind = editor::PreviewItem::Kind;
    show(true);
    const Rect shown = controls().previewView->shownRect();
    const Rect bubble = session().composition()->state()->layout.bubbleRect;
    const double points = shown.width / session().composition()->canvasWidth();
    const QPointF middle(shown.x + bubble.midX() * points, shown.maxY() - bubble.midY() * points);
    dragInPreview(middle, {shown.x + 60, shown.y + 60});
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().webcamCorner == 3; }));
    ASSERT_TRUE(awaitSelected(Kind::bubble));
    const QRectF now = outlineOf(Kind::bubble);
    const Point handle = editor::handlePoint({Kind::bubble}, {now.x(), now.y(), now.width(), now.height()},
                                             editor::PreviewPart::bottomRight);
    dragInPreview({handle.x, handle.y}, {handle.x + 40, handle.y + 40});
    ASSERT_TRUE(awaitInLoop([this] { return session().history().undoSteps() == 2; }));
    const double size = session().settings().webcamSize;
    EXPECT_GT(size, settings_.webcamSize + 0.05);
    window().close();
    EXPECT_EQ(saved().webcamCorner, 3);
    EXPECT_EQ(saved().webcamSize, size);
}

TEST_F(EditorOnX11, TheFrameOfAZoomIsDraggedAndSized) {
    using Kind = editor::PreviewItem::Kind;
    show();
    const std::vector<model::ZoomSpec> proposed = session().composition()->zoomSpecs();
    ASSERT_FALSE(proposed.empty());
    transport().jump(proposed[0].start + 1);
    ASSERT_TRUE(awaitInLoop([this] { return session().composition()->zoomCount() > 0; }));
    const Rect shown = controls().previewView->shownRect();
    // A click into the picture that the zoom enlarges.
    moveTo(*controls().previewHandlesView, {shown.midX(), shown.midY()});
    pointer_.click(1);
    ASSERT_TRUE(awaitSelected(Kind::focus));
    EXPECT_FALSE(session().hasManualZooms());
    const QRectF frame = outlineOf(Kind::focus);
    dragInPreview(frame.center(), frame.center() + QPointF(40, 20));
    ASSERT_TRUE(awaitInLoop([this] { return session().hasManualZooms(); }));
    EXPECT_GT(session().settings().zooms->at(0).focus[0].x, proposed[0].focus[0].x);
    const QRectF moved = outlineOf(Kind::focus);
    dragInPreview(moved.bottomRight(), moved.bottomRight() - QPointF(48, 27));
    ASSERT_TRUE(awaitInLoop([&] { return session().settings().zooms->at(0).scale > proposed[0].scale + 0.05; }));
    EXPECT_EQ(session().history().undoSteps(), 2u);
    key(kEscape);
    ASSERT_TRUE(awaitInLoop([&] { return outlineOf(Kind::focus).isEmpty(); }));
    const model::ProjectSettings expected = session().settings();
    window().close();
    EXPECT_EQ(saved(), expected);
}

TEST_F(EditorOnX11, OneProposalOfIdleTimesIsTaken) {
    // Nothing happens from 2 to 7 and from 8 to 12 s.
    constexpr double kLength = 14;
    constexpr int kTicks = 600;
    options_.pictureTicks.clear();
    for (int frame = 0; frame < static_cast<int>(kLength) * 30; ++frame) {
        const double t = frame / 30.0;
        if ((t > 2 && t < 7) || (t > 8 && t < 12)) continue;
        options_.pictureTicks.push_back(frame * kTicks / 30);
    }
    options_.pictures = static_cast<int>(options_.pictureTicks.size());
    options_.sounds = {TestSound{.amplitude = 0}};
    options_.soundSeconds = kLength;
    makeTestMovie(folder_ / "source.mov", options_);
    info_.duration = kLength;
    info_.systemAudio = true;
    info_.save(folder_.path());
    model::PointerTrack().save(folder_.path());
    settings_.save(folder_.path());
    window_ = std::make_unique<editor::EditorWindow>(folder_.path(), loop_, editor::EditorWindow::Options{});
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));

    clickOn("idleButton");
    ASSERT_TRUE(awaitInLoop([this] { return window().findChild<editor::IdleDialog*>("idleDialog") != nullptr; }));
    auto* const dialog = window().findChild<editor::IdleDialog*>("idleDialog");
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    auto* const list = find<QTreeWidget>("idleList");
    ASSERT_TRUE(awaitInLoop([list] { return list->topLevelItemCount() == 2; }));
    clickOn("idleNoneButton");
    ASSERT_TRUE(awaitInLoop([dialog] { return dialog->proposals().chosen() == 0; }));
    // The box at the beginning of the second row.
    const QRect row = list->visualItemRect(list->topLevelItem(1));
    moveTo(*list->viewport(), QPointF(row.left() + 10, row.center().y()));
    pointer_.click(1);
    ASSERT_TRUE(awaitInLoop([dialog] { return dialog->proposals().chosen() == 1; }));
    clickOn("idleApplyButton");
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().cuts.size() == 1; }));
    EXPECT_FALSE(dialog->isVisible());
    window().close();
    const std::vector<model::CutRange> cuts = saved().cuts;
    ASSERT_EQ(cuts.size(), 1u);
    EXPECT_NEAR(cuts[0].start, 8.35, 1.0 / 30);
    EXPECT_NEAR(cuts[0].end, 11.65, 1.0 / 30);
}

TEST_F(EditorOnX11, KeysTrimCutJumpAndShuttle) {
    show();
    transport().scrub(1);
    key('i');
    transport().scrub(5);
    key('o');
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().trimEnd == 5; }));
    transport().scrub(2);
    key('c');
    ASSERT_TRUE(awaitInLoop([this] { return session().pendingCutStart() == 2; }));
    transport().scrub(3);
    key('c');
    ASSERT_TRUE(awaitInLoop([this] { return session().settings().cuts.size() == 1; }));
    key('j');
    ASSERT_TRUE(awaitInLoop([this] { return transport().playhead() < 1.8; })) << "back, over the cut";
    key('k');
    ASSERT_TRUE(awaitInLoop([this] { return window().shuttle().rate() == 0; }));
    key('l');
    ASSERT_TRUE(awaitInLoop([this] { return transport().isPlaying(); }));
    key('l');
    ASSERT_TRUE(awaitInLoop([this] { return window().shuttle().rate() == 2; }));
    key(kSpace);
    ASSERT_TRUE(awaitInLoop([this] { return window().shuttle().rate() == 0; }));
    key(kHome);
    ASSERT_TRUE(awaitInLoop([this] { return transport().playhead() == 1; }));
    key(kDown);
    ASSERT_TRUE(awaitInLoop([this] { return transport().playhead() > 1; }));
    key('y', {kControl});
    key(kF11);
    ASSERT_TRUE(awaitInLoop([this] { return !find("trimStartButton")->isVisible(); }));
    EXPECT_TRUE(find("playButton")->isVisible());
    key(kEscape);
    ASSERT_TRUE(awaitInLoop([this] { return find("trimStartButton")->isVisible(); }));
    key(kF1);
    ASSERT_TRUE(awaitInLoop([this] { return window().findChild<editor::KeyPage*>("keyPage") != nullptr; }));
    const auto* page = window().findChild<editor::KeyPage*>("keyPage")->findChild<QScrollArea*>();
    ASSERT_TRUE(awaitInLoop([page] { return page->isVisible(); }));
    EXPECT_EQ(page->horizontalScrollBar()->maximum(), 0) << "a usual screen has room for all of it";
    EXPECT_EQ(page->verticalScrollBar()->maximum(), 0);
    window().close();
    const model::ProjectSettings document = saved();
    EXPECT_EQ(document.trimStart, 1);
    EXPECT_EQ(document.trimEnd, 5);
    EXPECT_EQ(document.cuts, (std::vector<model::CutRange>{{2, 3}}));
}

TEST_F(EditorOnX11, TheExportDialogWritesAnotherFormUnderAChosenName) {
    show();
    session().setTrimEnd(1);
    key('e', {kControl, kShift});
    editor::ExportDialog* dialog = nullptr;
    ASSERT_TRUE(awaitInLoop([&] {
        dialog = window().findChild<editor::ExportDialog*>();
        return dialog != nullptr && dialog->isVisible();
    }));
    // Without a window manager, this window does not get the keyboard by itself either.
    xcb_set_input_focus(desktop.rig().connection(), XCB_INPUT_FOCUS_PARENT, static_cast<xcb_window_t>(dialog->winId()),
                        XCB_CURRENT_TIME);
    desktop.rig().sync();
    ASSERT_TRUE(awaitInLoop([&] { return dialog->isActiveWindow(); }));

    auto* form = find<QComboBox>("exportFormBox");
    moveTo(*form, QRectF(form->rect()).center());
    pointer_.click(1);
    ASSERT_TRUE(awaitInLoop([&] { return form->view()->isVisible(); }));
    const int gif = form->findData(static_cast<int>(render::FilmForm::gif));
    const QRect row = form->view()->visualRect(form->model()->index(gif, 0));
    ASSERT_TRUE(awaitInLoop([&] { return form->view()->window()->isVisible(); }));
    moveTo(*form->view()->viewport(), QRectF(row).center());
    pointer_.click(1);
    ASSERT_TRUE(awaitInLoop([&] { return dialog->choice().form == render::FilmForm::gif; }));

    auto* name = find<QLineEdit>("exportNameField");
    moveTo(*name, QRectF(name->rect()).center());
    pointer_.click(1);
    ASSERT_TRUE(awaitInLoop([&] { return name->hasFocus(); }));
    key('a', {kControl});
    for (const char letter : {'k', 'u', 'r', 'z'}) key(static_cast<std::uint32_t>(letter));
    ASSERT_TRUE(awaitInLoop([&] { return name->text() == "kurz"; }));
    EXPECT_EQ(dialog->choice().file, folder_ / "kurz.gif");
    clickOn("exportButton");
    ASSERT_TRUE(awaitInLoop([&] { return !exports_->list().entries().empty(); }));
    EXPECT_TRUE(window().isRendering());
    ASSERT_TRUE(awaitExport());
    EXPECT_EQ(exports_->list().entries().front().state, editor::ExportState::done)
        << exports_->list().entries().front().reason;
    EXPECT_EQ(folder_.read("kurz.gif").substr(0, 6), "GIF89a");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mp4"));
    window().close();
}

TEST_F(EditorOnX11, AnEditSurvivesTheProgramBeingKilled) {
    // The program's window lies where this one does.
    show();
    auto* padding = find<ui::ValueSlider>("paddingSlider");
    const QPoint target = padding->mapToGlobal(handleAt(*padding, 0.9)).toPoint();
    window().close();
    window_.reset();
    const double before = saved().padding;

    ProgramRun program({LUMI_PROGRAM, "--open-editor", folder_.path().string()},
                       {{"DISPLAY", desktop.rig().displayName()}, {"QT_QPA_PLATFORM", "xcb"}});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    // Until the window is there, the click meets nothing. Once it has, more of them change nothing.
    while (saved().padding == before && std::chrono::steady_clock::now() < deadline) {
        ASSERT_TRUE(program.isRunning()) << program.err();
        pointer_.moveTo(target.x(), target.y());
        pointer_.click(1);
        // Longer than saving is put off.
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    }
    program.signal(SIGKILL);
    EXPECT_EQ(program.wait(), -SIGKILL);
    EXPECT_NEAR(saved().padding, 0.9 * kMostPadding, 0.01);
}

}  // namespace
}  // namespace lumivastor
