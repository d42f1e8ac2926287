// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/marks.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

TEST(MarksOfARecording, AreReadAsTheyWereSaved) {
    const TemporaryFolder folder;
    EXPECT_EQ(Marks::find(folder.path()), std::nullopt);
    EXPECT_TRUE(Marks::timesIn(folder.path()).empty());
    Marks marks;
    marks.list = {{0}, {1.0 / 3}, {75.25}};
    marks.save(folder.path());
    EXPECT_EQ(Marks::find(folder.path()), marks);
    EXPECT_EQ(Marks::timesIn(folder.path()), (std::vector<double>{0, 1.0 / 3, 75.25}));
}

TEST(MarksOfARecording, ArePutInOrder) {
    const TemporaryFolder folder;
    folder.write("marks.json", R"({"version":1,"marks":[{"t":3},{"t":1,"later":true}],"other":0})");
    EXPECT_EQ(Marks::timesIn(folder.path()), (std::vector<double>{1, 3}));
}

TEST(MarksOfARecording, AFaultyDocumentHasNone) {
    const TemporaryFolder folder;
    for (const char* text : {"", "{}", R"({"version":1,"marks":[{"t":"x"}]})"}) {
        folder.write("marks.json", text);
        EXPECT_TRUE(Marks::timesIn(folder.path()).empty()) << text;
        EXPECT_THROW(Marks::find(folder.path()), RecorderError) << text;
    }
}

TEST(MarksOfARecording, TimesThatNoRecordingHasAreLeftOut) {
    const TemporaryFolder folder;
    folder.write("marks.json", R"({"version":1,"marks":[{"t":-1},{"t":2},{"t":1e300}]})");
    EXPECT_EQ(Marks::timesIn(folder.path()), std::vector<double>{2});
}

}  // namespace
}  // namespace lumivastor::model
