// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/project_document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "support/file_size_limit.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

using Before = ProjectDocument::Before;

ProjectSettings settingsWith(double padding) {
    ProjectSettings settings;
    settings.padding = padding;
    return settings;
}

class ProjectDocuments : public testing::Test {
  protected:
    bool isKept() const { return std::filesystem::exists(std::filesystem::symlink_status(folder_ / kKept)); }

    static constexpr const char* kName = "project.json";
    static constexpr const char* kKept = ProjectDocument::kKeptName;
    const TemporaryFolder folder_;
};

TEST_F(ProjectDocuments, AreSavedAgainAndAgain) {
    ProjectDocument document(folder_.path());
    EXPECT_EQ(document.settings(), ProjectSettings());
    EXPECT_FALSE(document.exists());
    for (const double padding : {0.1, 0.2, 0.2, 0.3}) {
        EXPECT_EQ(document.save(settingsWith(padding)), Before::expected);
        EXPECT_EQ(ProjectSettings::load(folder_.path()), settingsWith(padding));
    }
    EXPECT_TRUE(document.exists());
    EXPECT_EQ(ProjectDocument(folder_.path()).settings().padding, 0.3);
    EXPECT_EQ(namesIn(folder_.path()), std::vector<std::string>{kName});
}

TEST_F(ProjectDocuments, AreReplacedWhenTheyAreWhatWasRead) {
    folder_.write(kName, "{\"padding\":   0.03, \"version\": 7}");
    ProjectDocument document(folder_.path());
    EXPECT_EQ(document.settings().padding, 0.03);
    EXPECT_EQ(document.save(settingsWith(0.1)), Before::expected);
    EXPECT_EQ(ProjectSettings::load(folder_.path()), settingsWith(0.1)) << "the version as well";
    EXPECT_FALSE(isKept());
}

TEST_F(ProjectDocuments, OneThatIsNoneIsKept) {
    folder_.write(kName, "{\"padding\": 0.03");
    ProjectDocument document(folder_.path());
    EXPECT_EQ(document.settings(), ProjectSettings());
    EXPECT_TRUE(document.exists());
    EXPECT_EQ(document.save(settingsWith(0.1)), Before::unreadable);
    EXPECT_EQ(folder_.read(kKept), "{\"padding\": 0.03");
    EXPECT_EQ(document.save(settingsWith(0.2)), Before::expected);
    EXPECT_EQ(folder_.read(kKept), "{\"padding\": 0.03");
}

TEST_F(ProjectDocuments, OneThatIsTooLongIsKept) {
    folder_.write(kName, "{}");
    std::filesystem::resize_file(folder_ / kName, ProjectDocument::kMaxBytes + 1);
    ProjectDocument document(folder_.path());
    EXPECT_EQ(document.save(settingsWith(0.1)), Before::unreadable);
    EXPECT_EQ(std::filesystem::file_size(folder_ / kKept), ProjectDocument::kMaxBytes + 1);
}

TEST_F(ProjectDocuments, AnotherProgramsIsKept) {
    ProjectDocument document(folder_.path());
    document.save(settingsWith(0.1));
    folder_.write(kName, "{\"padding\": 0.2}");
    EXPECT_EQ(document.save(settingsWith(0.3)), Before::foreign);
    EXPECT_EQ(folder_.read(kKept), "{\"padding\": 0.2}");
    folder_.write(kName, "nothing");
    EXPECT_EQ(document.save(settingsWith(0.3)), Before::unreadable);
    EXPECT_EQ(folder_.read(kKept), "nothing");
}

TEST_F(ProjectDocuments, ALinkIsKeptAsALink) {
    const TemporaryFolder foreign;
    foreign.write("file", "foreign");
    std::filesystem::create_symlink(foreign / "file", folder_ / kName);
    ProjectDocument document(folder_.path());
    EXPECT_EQ(document.save(settingsWith(0.1)), Before::unreadable);
    EXPECT_EQ(foreign.read("file"), "foreign");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / kKept));
    EXPECT_FALSE(std::filesystem::is_symlink(folder_ / kName));
}

TEST_F(ProjectDocuments, WhatCannotBeSavedLeavesEverything) {
    folder_.write(kName, "nothing");
    ProjectDocument document(folder_.path());
    {
        const FileSizeLimit full(100);
        EXPECT_THROW(document.save(settingsWith(0.1)), RecorderError);
    }
    EXPECT_EQ(folder_.read(kName), "nothing");
    EXPECT_EQ(namesIn(folder_.path()), std::vector<std::string>{kName});
    EXPECT_EQ(document.save(settingsWith(0.1)), Before::unreadable);
}

}  // namespace
}  // namespace lumivastor::model
