// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recordings_root.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "base/recorder_error.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor::capture {
namespace {

TEST(RecordingsRoot, LiesInTheHomeFolder) {
    const char* home = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe): no other thread is running
    EXPECT_EQ(recordingsRoot(), std::filesystem::path(home) / "Movies/LumiVastor");
}

// NOLINTBEGIN(concurrency-mt-unsafe): no other thread is running
TEST(OverviewCacheFolder, LiesInTheUsersCacheFolder) {
    const char* const set = std::getenv("XDG_CACHE_HOME");
    const std::optional<std::string> before = set != nullptr ? std::optional<std::string>(set) : std::nullopt;
    ::setenv("XDG_CACHE_HOME", "/somewhere", 1);
    EXPECT_EQ(overviewCacheFolder(), "/somewhere/lumivastor/overview");
    EXPECT_EQ(filmCacheFolder(), "/somewhere/lumivastor/films");
    const std::filesystem::path usual = std::filesystem::path(std::getenv("HOME")) / ".cache/lumivastor/overview";
    ::setenv("XDG_CACHE_HOME", "not/absolute", 1);
    EXPECT_EQ(overviewCacheFolder(), usual);
    ::unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(overviewCacheFolder(), usual);
    if (before) ::setenv("XDG_CACHE_HOME", before->c_str(), 1);
}
// NOLINTEND(concurrency-mt-unsafe)

TEST(RecordingFolders, AreNamedByLocalTime) {
    const TemporaryFolder root;
    std::tm local{};
    local.tm_year = 125;
    local.tm_mon = 2;
    local.tm_mday = 14;
    local.tm_hour = 9;
    local.tm_min = 5;
    local.tm_sec = 33;
    local.tm_isdst = -1;
    const auto folder = makeRecordingFolder(root / "Movies" / "LumiVastor", std::mktime(&local));
    EXPECT_EQ(folder, root / "Movies" / "LumiVastor" / "2025-03-14_09-05-33");
    EXPECT_TRUE(std::filesystem::is_directory(folder));
}

TEST(RecordingFolders, AreTheUsersAlone) {
    const TemporaryFolder top;
    const auto folder = makeRecordingFolder(top / "Movies/LumiVastor", 1'700'000'000);
    EXPECT_EQ(modeOf(folder), 0700u);
    EXPECT_EQ(modeOf(top / "Movies/LumiVastor"), 0700u);
    EXPECT_EQ(chmod((top / "Movies/LumiVastor").c_str(), 0755), 0);
    EXPECT_EQ(modeOf(makeRecordingFolder(top / "Movies/LumiVastor", 1'800'000'000)), 0700u);
    EXPECT_EQ(modeOf(top / "Movies/LumiVastor"), 0755u) << "what is there stays as it is";
}

TEST(RecordingFolders, ThatStartInTheSameSecondAreTwo) {
    const TemporaryFolder root;
    const auto first = makeRecordingFolder(root.path(), 1'700'000'000);
    EXPECT_EQ(makeRecordingFolder(root.path(), 1'700'000'000), first.string() + "-2");
    EXPECT_EQ(makeRecordingFolder(root.path(), 1'700'000'000), first.string() + "-3");
}

TEST(RecordingFolders, ThatCannotBeMadeAreAnError) {
    const TemporaryFolder root;
    root.write("file", "x");
    EXPECT_THROW(makeRecordingFolder(root / "file", 0), RecorderError);
}

}  // namespace
}  // namespace lumivastor::capture
