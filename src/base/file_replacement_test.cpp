// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file_replacement.h"

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/file_size_limit.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

using Names = std::vector<std::string>;

TEST(FileReplacement, IsReadBackWhateverItsLength) {
    const TemporaryFolder folder;
    std::string content;
    FileReplacement file(folder / "file");
    for (int i = 0; i < 50'000; ++i) {
        const std::string piece = std::to_string(i) + ";";
        content += piece;
        file.write(piece);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "file")) << "half of it is not to be seen";
    ASSERT_FALSE(file.commit());
    EXPECT_EQ(folder.read("file"), content);
    EXPECT_EQ(namesIn(folder.path()), Names{"file"});
}

TEST(FileReplacement, AnEmptyFileIsOneToo) {
    const TemporaryFolder folder;
    folder.write("file", "old");
    ASSERT_FALSE(FileReplacement(folder / "file").commit());
    EXPECT_EQ(folder.read("file"), "");
}

TEST(FileReplacement, TouchesNothingBeforeTheFirstBytes) {
    const TemporaryFolder folder;
    FileReplacement file(folder / "file");
    EXPECT_EQ(namesIn(folder.path()), Names{});
}

TEST(FileReplacement, WithoutACommitNothingHasHappened) {
    const TemporaryFolder folder;
    folder.write("file", "old");
    {
        FileReplacement file(folder / "file");
        file.write("new");
        EXPECT_EQ(namesIn(folder.path()).size(), 2u);
    }
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(namesIn(folder.path()), Names{"file"});
}

TEST(FileReplacement, OnAFullDiskTheOldFileStays) {
    const TemporaryFolder folder;
    folder.write("file", "old");
    std::error_code error;
    {
        const FileSizeLimit full(1000);
        error = replaceFile(folder / "file", std::string(200'000, 'x'));
    }
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(namesIn(folder.path()), Names{"file"});
}

TEST(FileReplacement, ALinkIsReplacedAndNotFollowed) {
    const TemporaryFolder folder;
    folder.write("foreign", "foreign");
    std::filesystem::create_symlink(folder / "foreign", folder / "file");
    std::filesystem::create_symlink(folder / "nowhere", folder / "dangling");
    ASSERT_FALSE(replaceFile(folder / "file", "new"));
    ASSERT_FALSE(replaceFile(folder / "dangling", "new"));
    EXPECT_EQ(folder.read("foreign"), "foreign");
    EXPECT_EQ(folder.read("file"), "new");
    EXPECT_FALSE(std::filesystem::is_symlink(folder / "file"));
    EXPECT_EQ(namesIn(folder.path()), (Names{"dangling", "file", "foreign"}));
}

TEST(FileReplacement, WhatIsNoFileIsRefused) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(replaceFile(folder / "folder", "x"), std::errc::is_a_directory);
    EXPECT_EQ(replaceFile(folder / "pipe", "x"), std::errc::not_supported);
    EXPECT_EQ(replaceFile("/dev/null", "x"), std::errc::not_supported);
    EXPECT_EQ(replaceFile(folder / "missing" / "file", "x"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(namesIn(folder.path()), (Names{"folder", "pipe"}));
}

TEST(FileReplacement, IsItsOwnersAloneUnlessThereWasAFile) {
    const TemporaryFolder folder;
    ASSERT_FALSE(replaceFile(folder / "new", "x"));
    EXPECT_EQ(modeOf(folder / "new"), 0600u);
    folder.write("old", "old");
    ASSERT_EQ(chmod((folder / "old").c_str(), 0664), 0);
    ASSERT_FALSE(replaceFile(folder / "old", "x"));
    EXPECT_EQ(modeOf(folder / "old"), 0664u);
    EXPECT_EQ(folder.read("old"), "x");
}

TEST(FileReplacement, AWriteProtectedFileStays) {
    const TemporaryFolder folder;
    folder.write("file", "old");
    ASSERT_EQ(chmod((folder / "file").c_str(), 0444), 0);
    ASSERT_EQ(chmod(folder.path().c_str(), 0777), 0);
    // Rules do not hold for root, so root's file accesses are made nobody's for a moment.
    const bool isRoot = ::geteuid() == 0;
    constexpr uid_t kNobody = 65534;
    if (isRoot) ::setfsuid(kNobody);
    const std::error_code error = replaceFile(folder / "file", "new");
    if (isRoot) ::setfsuid(0);
    EXPECT_EQ(error, std::errc::permission_denied);
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(namesIn(folder.path()), Names{"file"});
}

TEST(FileReplacement, TheOldFileMayStayBeside) {
    const TemporaryFolder folder;
    ASSERT_FALSE(replaceFile(folder / "file", "first", Durability::now, "file.alt"));
    EXPECT_EQ(namesIn(folder.path()), Names{"file"}) << "there was none";
    ASSERT_FALSE(replaceFile(folder / "file", "second", Durability::now, "file.alt"));
    EXPECT_EQ(folder.read("file.alt"), "first");
    ASSERT_FALSE(replaceFile(folder / "file", "third", Durability::later, "file.alt"));
    EXPECT_EQ(folder.read("file.alt"), "second");
    EXPECT_EQ(folder.read("file"), "third");
}

TEST(FileReplacement, WhenTheOldFileCannotStayBesideNothingChanges) {
    const TemporaryFolder folder;
    folder.write("file", "old");
    folder.write("file.alt/occupied", "x");
    EXPECT_TRUE(replaceFile(folder / "file", "new", Durability::now, "file.alt"));
    EXPECT_EQ(folder.read("file"), "old");
    EXPECT_EQ(namesIn(folder.path()), (Names{"file", "file.alt"}));
}

TEST(FileReplacement, WhatACrashLeftBesideGoesWithTheNext) {
    const TemporaryFolder folder;
    folder.write(".file.0123456789abcdef.tmp", "half");
    folder.write(".file.fedcba9876543210.tmp", "half of another");
    const Names others = {".file.0123.tmp", ".file.0123456789abcdeg.tmp", ".file.0123456789abcdef.tmp~",
                          ".other.0123456789abcdef.tmp"};
    for (const std::string& other : others) folder.write(other, "not ours");
    ASSERT_FALSE(replaceFile(folder / "file", "new"));
    EXPECT_EQ(namesIn(folder.path()), (Names{".file.0123.tmp", ".file.0123456789abcdef.tmp~",
                                             ".file.0123456789abcdeg.tmp", ".other.0123456789abcdef.tmp", "file"}));
}

TEST(FileReplacement, WhatSomebodyIsWritingBesideStays) {
    const TemporaryFolder folder;
    FileReplacement first(folder / "file");
    first.write("first");
    ASSERT_FALSE(replaceFile(folder / "file", "second"));
    EXPECT_EQ(namesIn(folder.path()).size(), 2u);
    ASSERT_FALSE(first.commit());
    EXPECT_EQ(folder.read("file"), "first");
    EXPECT_EQ(namesIn(folder.path()), Names{"file"});
}

TEST(FileReplacement, ALeftoverThatIsALinkIsNotFollowed) {
    const TemporaryFolder folder;
    folder.write("foreign", "foreign");
    std::filesystem::create_symlink(folder / "foreign", folder / ".file.0123456789abcdef.tmp");
    ASSERT_FALSE(replaceFile(folder / "file", "new"));
    EXPECT_EQ(folder.read("foreign"), "foreign");
}

TEST(SyncToDisk, TakesFilesAndFoldersAndTellsWhatIsMissing) {
    const TemporaryFolder folder;
    folder.write("file", "x");
    EXPECT_FALSE(syncToDisk(folder / "file"));
    EXPECT_FALSE(syncToDisk(folder.path()));
    EXPECT_EQ(syncToDisk(folder / "missing"), std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace lumivastor
