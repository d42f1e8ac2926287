#include "editor/editor_windows.h"

#include <gtest/gtest.h>

#include "editor/editor_window.h"
#include "support/editor_fixture.h"

namespace lumivastor {
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
    EXPECT_TRUE(waitFor([&] { return editors.count() == 1; }));
    EXPECT_TRUE(second.isVisible());
}

TEST_F(EditorWindowsTest, WhatCannotBeOpenedLeavesNothingBehind) {
    EditorWindows editors(loop_, {});
    const TemporaryFolder empty;
    EXPECT_THROW(editors.open(empty.path()), RecorderError);
    EXPECT_EQ(editors.count(), 0u);
}

TEST_F(EditorWindowsTest, WhatIsOpenIsSavedWhenTheProgramEnds) {
    {
        EditorWindows editors(loop_, {});
        editors.open(folder_.path()).session().setTrimStart(2);
    }
    EXPECT_EQ(saved().trimStart, 2);
}

}  // namespace
}  // namespace lumivastor
