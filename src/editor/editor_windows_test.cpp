// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_windows.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPushButton>
#include <QUrl>

#include "editor/editor_window.h"
#include "support/editor_fixture.h"

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

TEST_F(EditorWindowsTest, AllMayCloseOnceThoseThatExportWereAskedTwice) {
    EditorWindows editors(loop_, {});
    EXPECT_TRUE(editors.mayClose());
    EditorWindow& editor = editors.open(folder_.path());
    EXPECT_TRUE(editors.mayClose());
    QTest::mouseClick(editor.findChild<QPushButton*>("renderButton"), Qt::LeftButton);
    ASSERT_TRUE(editor.isRendering());
    EXPECT_FALSE(editors.mayClose());
    EXPECT_TRUE(editors.mayClose());
    // The question is one, whichever way it is asked: the window closes now, too.
    EXPECT_TRUE(editor.close());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "studio-output.mp4"));
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
