// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/app_windows.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QTest>
#include <QTimer>
#include <functional>
#include <string>

#include "model/capture_info.h"
#include "support/app_rig.h"
#include "support/offscreen_application.h"
#include "ui/theme.h"

namespace lumivastor::app {
namespace {

constexpr const char* kAsked = "Ein Video wird gerendert – noch einmal schließen bricht ab.";

// The windows themselves, without a display, and a check video that is being written.
class AppWindowsTest : public AppRig {
  protected:
    AppWindowsTest() {
        ui::theme::apply(*application_);
        useSlowCheckVideos();
        windows_.setDelegate(delegate_);
        windows_.showMainWindow();
    }

    QWidget& mainWindow() const {
        for (QWidget* each : QApplication::topLevelWidgets()) {
            if (each->objectName() == "mainWindow") return *each;
        }
        throw std::runtime_error("there is no main window");
    }
    std::string status() const { return mainWindow().findChild<QLabel*>("statusLabel")->text().toStdString(); }

    void beginCheckVideo() {
        delegate_.renderCheckVideo();
        auto* const panel = mainWindow().findChild<QFileDialog*>();
        ASSERT_NE(panel, nullptr);
        panel->setDirectory(QString::fromStdString(temporary_.path().string()));
        static_cast<QDialog*>(panel)->done(QDialog::Accepted);
        ASSERT_EQ(status(), "Zeichne den Cursor auf das Video …");
    }

    // Whether the program's loop ends by this.
    static bool ends(const std::function<void()>& step) {
        bool ended = true;
        QTimer step1;
        QTimer step2;
        for (QTimer* each : {&step1, &step2}) each->setSingleShot(true);
        QObject::connect(&step1, &QTimer::timeout, [&] {
            step();
            // What ends the loop has been asked for by now.
            step2.start(0);
        });
        QObject::connect(&step2, &QTimer::timeout, [&] {
            ended = false;
            QCoreApplication::exit();
        });
        step1.start(0);
        QApplication::exec();
        return ended;
    }

    static void pressQuit(QWidget& window) { QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier); }

  private:
    OffscreenApplication application_;

  protected:
    editor::EditorWindows editors_{loop_, {}};
    RecordingLibrary library_{loop_, {.root = root_}};
    AppWindows windows_{{.editors = editors_,
                         .library = library_,
                         .render = [](const std::filesystem::path&) {},
                         .checkForUpdates = nullptr,
                         .openUpdate = [] {}}};
    AppDelegate delegate_{[this] {
                              useSlowCheckVideos();
                              return appServices();
                          }(),
                          windows_};
};

TEST_F(AppWindowsTest, KeysEndTheProgramFromEveryWindow) {
    QWidget other;
    other.show();
    EXPECT_TRUE(ends([&] { pressQuit(other); }));
    EXPECT_TRUE(ends([this] { pressQuit(mainWindow()); }));
    EXPECT_FALSE(ends([&] { QTest::keyClick(&other, Qt::Key_Q); }));
}

TEST_F(AppWindowsTest, AllWaysOutAskTheSameQuestionOnce) {
    beginCheckVideo();
    QAction* quit = nullptr;
    for (QAction* each : mainWindow().findChildren<QAction*>()) {
        if (each->text() == "LumiVastor beenden") quit = each;
    }
    ASSERT_NE(quit, nullptr);
    EXPECT_FALSE(ends([&] { quit->trigger(); }));
    EXPECT_EQ(status(), kAsked);
    EXPECT_TRUE(mainWindow().isVisible());
    EXPECT_TRUE(ends([this] { pressQuit(mainWindow()); }));
    EXPECT_FALSE(checkVideoWasStopped_) << "that is for the end of its owner";
}

TEST_F(AppWindowsTest, ClosingTheLastWindowAsksOnceAndEndsTheProgram) {
    beginCheckVideo();
    EXPECT_FALSE(ends([this] { mainWindow().close(); }));
    EXPECT_EQ(status(), kAsked);
    EXPECT_TRUE(mainWindow().isVisible());
    bool isClosed = false;
    EXPECT_TRUE(ends([&] {
        isClosed = mainWindow().close();
        // The end follows the closing of the last window.
        QCoreApplication::processEvents();
    }));
    EXPECT_TRUE(isClosed);
}

TEST_F(AppWindowsTest, TheEndOfTheSessionIsNotAskedBack) {
    beginCheckVideo();
    EXPECT_TRUE(ends([] {
        QEvent end(QEvent::Quit);
        QCoreApplication::sendEvent(qApp, &end);
    }));
}

TEST_F(AppWindowsTest, TheEndOfTheSessionFinishesARecordingFirst) {
    delegate_.applicationDidFinishLaunching({});
    ASSERT_TRUE(loop_.runUntil([this] { return status().starts_with("Bereit. "); }));
    delegate_.toggleRecording();
    loop_.runPending();
    loop_.advance(3);
    ASSERT_TRUE(loop_.runUntil([this] { return desktop_.configuration().has_value() && !mainWindow().isVisible(); }));
    emitPicture();
    EXPECT_FALSE(ends([] {
        QEvent end(QEvent::Quit);
        QCoreApplication::sendEvent(qApp, &end);
    }));
    const auto* const button = mainWindow().findChild<QAbstractButton*>("recordButton");
    EXPECT_TRUE(ends([&] { EXPECT_TRUE(loop_.runUntil([&] { return button->text() == "Aufnahme starten"; })); }));
    EXPECT_GT(model::CaptureInfo::load(root_ / "2025-03-14_09-05-33").framesWritten, 0);
}

}  // namespace
}  // namespace lumivastor::app
