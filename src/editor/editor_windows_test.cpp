// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_windows.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QUrl>
#include <algorithm>

#include "editor/editor_window.h"
#include "editor/exports/film_preparer.h"
#include "support/editor_fixture.h"
#include "support/manual_main_loop.h"

namespace lumivastor::editor {
namespace {

class EditorWindowsTest : public EditorFixture {
  protected:
    EditorWindowsTest() {
        openWindow();
        window_.reset();
    }
};

TEST_F(EditorWindowsTest, AFolderHasOneEditor) {
    EditorWindows editors(loop_, {});
    EditorWindow& first = editors.open(folder_.path());
    EXPECT_EQ(&editors.open(folder_ / "."), &first);
    EXPECT_EQ(editors.count(), 1u);
    EXPECT_TRUE(first.isVisible());
}

TEST_F(EditorWindowsTest, AClosedEditorGoesAWhileLaterAndItsFolderCanBeOpenedAgain) {
    EditorWindows editors(loop_, {});
    EditorWindow& first = editors.open(folder_.path());
    first.close();
    EXPECT_EQ(editors.count(), 1u);
    EditorWindow& second = editors.open(folder_.path());
    EXPECT_NE(&second, &first);
    EXPECT_TRUE(awaitInLoop([&] { return editors.count() == 1; }));
    EXPECT_TRUE(second.isVisible());
}

TEST_F(EditorWindowsTest, WhatCannotBeOpenedLeavesNothingBehind) {
    EditorWindows editors(loop_, {});
    const TemporaryFolder empty;
    EXPECT_THROW(editors.open(empty.path()), RecorderError);
    EXPECT_EQ(editors.count(), 0u);
}

TEST_F(EditorWindowsTest, AFolderThatIsDroppedIsHandedOn) {
    std::filesystem::path dropped;
    EditorWindows::Options options;
    options.dropped = [&](const std::filesystem::path& folder) { dropped = folder; };
    EditorWindows editors(loop_, std::move(options));
    EditorWindow& editor = editors.open(folder_.path());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(folder_.path().string()))});
    QDragEnterEvent enter({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&editor, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&editor, &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_TRUE(awaitInLoop([&] { return dropped == folder_.path(); }));
}

TEST_F(EditorWindowsTest, AQuietEditorsFilmIsPreparedAndTheButtonSaysSo) {
    settings_.exportHeight = 90;  // small is quick
    settings_.save(folder_.path());
    const TemporaryFolder cache;
    ManualMainLoop clock;
    FilmPreparer::Options options;
    options.filmCache = cache.path();
    options.clock = [&] { return clock.now(); };
    EditorWindow::Options windowOptions;
    windowOptions.exports = exports_;
    windowOptions.preparer = std::make_shared<FilmPreparer>(clock, *exports_, std::move(options));
    const auto preparer = windowOptions.preparer;
    EditorWindow editor(folder_.path(), loop_, std::move(windowOptions));
    editor.show();
    auto* button = editor.findChild<QPushButton*>("renderButton");
    const std::string tip = "Das fertige Video in den Ordner der Aufnahme schreiben";
    EXPECT_EQ(button->toolTip().toStdString(), tip);
    clock.advance(10);
    ASSERT_TRUE(clock.runUntil([&] { return !preparer->isPreparing(); }));
    EXPECT_EQ(button->toolTip().toStdString(), tip + "\nFertig vorbereitet");
    QTest::mouseClick(editor.findChild<QPushButton*>("trimStartButton"), Qt::LeftButton);
    EXPECT_EQ(button->toolTip().toStdString(), tip + "\nFertig vorbereitet") << "nothing has changed";
    editor.transport().scrub(2);
    QTest::mouseClick(editor.findChild<QPushButton*>("trimStartButton"), Qt::LeftButton);
    EXPECT_EQ(button->toolTip().toStdString(), tip);

    QAction* item = nullptr;
    for (QAction* each : editor.findChildren<QAction*>()) {
        if (each->text() == "Im Hintergrund vorbereiten") item = each;
    }
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->isCheckable() && item->isChecked());
    item->trigger();
    EXPECT_FALSE(item->isChecked());
    EXPECT_FALSE(preparer->isOn());
    clock.advance(10);
    EXPECT_FALSE(preparer->isPreparing());
    // Each key is work, wherever it is pressed.
    QTest::keyClick(button, Qt::Key_Shift);
    item->trigger();
    EXPECT_TRUE(item->isChecked());
    clock.advance(3);
    QTest::keyClick(&editor, Qt::Key_Shift);
    clock.advance(3);
    EXPECT_FALSE(preparer->isPreparing());
    EXPECT_EQ(button->toolTip().toStdString(), tip);
    clock.advance(3);
    ASSERT_TRUE(clock.runUntil([&] { return !preparer->isPreparing(); }));
    EXPECT_EQ(button->toolTip().toStdString(), tip + "\nFertig vorbereitet");
    editor.close();
    EXPECT_EQ(clock.timers(), 0u);
}

TEST_F(EditorWindowsTest, WhileThereAreExportsEndingTakesTwoAttempts) {
    EditorWindows editors(loop_, {});
    EXPECT_TRUE(editors.mayClose());
    EditorWindow& editor = editors.open(folder_.path());
    EXPECT_TRUE(editors.mayClose());
    QTest::mouseClick(editor.findChild<QPushButton*>("renderButton"), Qt::LeftButton);
    ASSERT_TRUE(editor.isRendering());
    // Closing the window loses nothing: its export goes on, and is seen in the list.
    EXPECT_TRUE(editor.close());
    const auto list = [] {
        const QWidgetList all = QApplication::topLevelWidgets();
        const auto found = std::find_if(all.begin(), all.end(),
                                        [](const QWidget* each) { return each->objectName() == "exportsWindow"; });
        return found == all.end() ? nullptr : *found;
    };
    ASSERT_NE(list(), nullptr);
    EXPECT_TRUE(list()->isVisible());
    const auto* status = list()->findChild<QLabel*>("exportsStatus");
    EXPECT_EQ(status->text(), "");
    EXPECT_FALSE(editors.mayClose());
    EXPECT_EQ(status->text(), "Ein Video wird gerendert – noch einmal schließen bricht ab.");
    EXPECT_TRUE(editors.mayClose());
    editors.endWork();
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(EditorWindowsTest, RecordingsAreRenderedWithoutAnEditor) {
    settings_.cuts = {{1, 5.5}};
    settings_.save(folder_.path());
    EditorWindows editors(loop_, {});
    editors.render(folder_.path());
    editors.render(folder_.path());
    EXPECT_EQ(editors.count(), 0u);
    ASSERT_EQ(editors.exports().list().entries().size(), 1u);
    ASSERT_TRUE(awaitInLoop([&] { return !editors.exports().list().isBusy(); }, 300));
    const ExportEntry& entry = editors.exports().list().entries().front();
    EXPECT_EQ(entry.state, ExportState::done);
    EXPECT_NEAR(entry.seconds, 1.5, 0.04);
    EXPECT_TRUE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(EditorWindowsTest, ARecordingThatCannotBeRenderedIsListedWithTheReason) {
    EditorWindows editors(loop_, {});
    const TemporaryFolder empty;
    editors.render(empty.path());
    ASSERT_EQ(editors.exports().list().entries().size(), 1u);
    EXPECT_EQ(editors.exports().list().entries().front().state, ExportState::failed);
    EXPECT_FALSE(editors.exports().list().entries().front().reason.empty());
}

TEST_F(EditorWindowsTest, EndingTheWorkCancelsExportsAndSaves) {
    EditorWindows editors(loop_, {});
    EditorWindow& editor = editors.open(folder_.path());
    QTest::mouseClick(editor.findChild<QPushButton*>("renderButton"), Qt::LeftButton);
    editor.session().setTrimStart(2);
    editors.endWork();
    EXPECT_EQ(saved().trimStart, 2);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mp4"));
}

TEST_F(EditorWindowsTest, WhatIsOpenIsSavedWhenTheProgramEnds) {
    {
        EditorWindows editors(loop_, {});
        editors.open(folder_.path()).session().setTrimStart(2);
    }
    EXPECT_EQ(saved().trimStart, 2);
}

}  // namespace
}  // namespace lumivastor::editor
