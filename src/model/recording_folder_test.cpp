// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/recording_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

namespace fs = std::filesystem;

class FileInside : public testing::Test {
  protected:
    FileInside() {
        top_.write("secret.png", "outside");
        top_.write("recording/cursors/c0.png", "inside");
    }

    TemporaryFolder top_;
    fs::path folder_ = top_ / "recording";
};

TEST_F(FileInside, FindsFilesBelowTheFolder) {
    EXPECT_EQ(fileInside(folder_, "cursors/c0.png"), fs::canonical(folder_) / "cursors/c0.png");
    EXPECT_EQ(fileInside(folder_, "./cursors/./c0.png"), fs::canonical(folder_) / "cursors/c0.png");
}

TEST_F(FileInside, RefusesWhatLeadsUpOrStartsAtTheRoot) {
    for (const std::string& name : {std::string("../secret.png"), std::string("cursors/../../secret.png"),
                                    std::string("cursors/../cursors/c0.png"), (top_ / "secret.png").string(),
                                    (folder_ / "cursors/c0.png").string(), std::string("/etc/passwd"),
                                    std::string(".."), std::string(), std::string("cursors/c0.png\0x", 16)}) {
        EXPECT_EQ(fileInside(folder_, name), std::nullopt) << name;
    }
}

TEST_F(FileInside, RefusesLinksThatLeadOut) {
    fs::create_symlink(top_ / "secret.png", folder_ / "absolute.png");
    fs::create_symlink("../secret.png", folder_ / "relative.png");
    fs::create_directory_symlink(top_.path(), folder_ / "up");
    EXPECT_EQ(fileInside(folder_, "absolute.png"), std::nullopt);
    EXPECT_EQ(fileInside(folder_, "relative.png"), std::nullopt);
    EXPECT_EQ(fileInside(folder_, "up/secret.png"), std::nullopt);
}

TEST_F(FileInside, FollowsLinksThatStayInsideAndAFolderThatIsALink) {
    fs::create_symlink("c0.png", folder_ / "cursors/c1.png");
    EXPECT_EQ(fileInside(folder_, "cursors/c1.png"), fs::canonical(folder_) / "cursors/c0.png");
    fs::create_directory_symlink(folder_, top_ / "link");
    EXPECT_EQ(fileInside(top_ / "link", "cursors/c0.png"), fs::canonical(folder_) / "cursors/c0.png");
}

TEST_F(FileInside, RefusesAFolderWhoseNameOnlyBeginsLikeThisOne) {
    top_.write("recording2/c0.png", "neighbour");
    fs::create_symlink(top_ / "recording2/c0.png", folder_ / "n.png");
    EXPECT_EQ(fileInside(folder_, "n.png"), std::nullopt);
}

TEST_F(FileInside, RefusesWhatIsNoRegularFile) {
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(fileInside(folder_, "pipe"), std::nullopt);
    EXPECT_EQ(fileInside(folder_, "cursors"), std::nullopt);
    EXPECT_EQ(fileInside(folder_, "."), std::nullopt);
    EXPECT_EQ(fileInside(folder_, "missing.png"), std::nullopt);
    EXPECT_EQ(fileInside("/nowhere/at/all", "c0.png"), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::model
