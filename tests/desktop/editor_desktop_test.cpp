// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <QApplication>
#include <QImage>
#include <QPushButton>
#include <QScreen>
#include <QWindow>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "editor/preview/mask_draw_view.h"
#include "editor/session/frame_time.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/editor_fixture.h"
#include "support/program_run.h"
#include "ui/value_slider.h"

// The editor's window on a real display server: what its pointer and keys do arrives there by the ways that a user's
// do.

namespace lumivastor {
namespace {

constexpr std::uint32_t kSpace = 0x20;
constexpr std::uint32_t kRight = 0xFF53;
constexpr std::uint32_t kShift = 0xFFE1;
constexpr std::uint32_t kControl = 0xFFE3;
constexpr std::uint32_t kZ = 'z';

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

    void show() {
        openWindow();
        // Without a window manager, this window does not get the keyboard by itself.
        xcb_set_input_focus(desktop.rig().connection(), XCB_INPUT_FOCUS_PARENT,
                            static_cast<xcb_window_t>(window().winId()), XCB_CURRENT_TIME);
        desktop.rig().sync();
        ASSERT_TRUE(awaitInLoop([this] { return window().isActiveWindow(); }));
        ASSERT_TRUE(awaitInLoop([this] { return controls().previewView->frame() != nullptr; }));
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
