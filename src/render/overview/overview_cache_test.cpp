// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/overview_cache.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

TEST(FilesToDelete, AreThoseBeyondTheAge) {
    EXPECT_EQ(filesToDelete({{"a", 1, 5}, {"b", 1, 11}, {"c", 1, 10}}, {100, 10}), Names{"b"});
    EXPECT_EQ(filesToDelete({{"future", 1, -1e9}}, {100, 10}), Names{});
    EXPECT_EQ(filesToDelete({}, {100, 10}), Names{});
}

TEST(FilesToDelete, AreThoseUsedLongestAgoUntilTheRestFits) {
    const std::vector<CachedFile> files{{"old", 10, 9}, {"new", 40, 1}, {"middle", 50, 5}, {"oldest", 1, 9.5}};
    EXPECT_EQ(filesToDelete(files, {101, 10}), Names{});
    EXPECT_EQ(filesToDelete(files, {100, 10}), Names{"oldest"});
    EXPECT_EQ(filesToDelete(files, {99, 10}), (Names{"old", "oldest"}));
    EXPECT_EQ(filesToDelete(files, {41, 10}), (Names{"middle", "old", "oldest"}));
    EXPECT_EQ(filesToDelete(files, {0, 10}).size(), 4U);
}

TEST(FilesToDelete, SizesThatOverflowAreTooLarge) {
    const std::uint64_t huge = ~std::uint64_t{0};
    EXPECT_EQ(filesToDelete({{"a", 10, 1}, {"b", huge, 2}, {"c", huge - 5, 3}}, {100, 10}), (Names{"b", "c"}));
}

class OverviewCacheTest : public testing::Test {
  protected:
    fs::path cacheFolder() const { return folder_.path() / "cache" / "overview"; }
    RecordingOverview overview() const {
        RecordingOverview overview;
        overview.stillStretches = {{1, 2}};
        overview.isComplete = true;
        return overview;
    }

    TemporaryFolder folder_;
};

TEST_F(OverviewCacheTest, KeepsAnOverviewForTheUserAlone) {
    const OverviewCache cache(cacheFolder());
    EXPECT_FALSE(cache.load(7));
    cache.store(overview(), 7);
    const auto read = cache.load(7);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->stillStretches, overview().stillStretches);
    EXPECT_FALSE(cache.load(8));
    struct stat status {};
    ASSERT_EQ(::stat(cache.fileOf(7).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(::stat(cacheFolder().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(OverviewCacheTest, ADamagedFileIsNotThereAndIsReplaced) {
    const OverviewCache cache(cacheFolder());
    cache.store(overview(), 7);
    fs::resize_file(cache.fileOf(7), 20);
    EXPECT_FALSE(cache.load(7));
    cache.store(overview(), 7);
    EXPECT_TRUE(cache.load(7));
    // Another movie's, under this name.
    cache.store(overview(), 8);
    fs::rename(cache.fileOf(8), cache.fileOf(7));
    EXPECT_FALSE(cache.load(7));
}

TEST_F(OverviewCacheTest, WhatCannotBeAFileIsNotThere) {
    const OverviewCache cache(cacheFolder());
    fs::create_directories(cache.fileOf(7));
    EXPECT_FALSE(cache.load(7));
    cache.store(overview(), 7);
    EXPECT_FALSE(cache.load(7));
    ASSERT_EQ(::mkfifo(cache.fileOf(9).c_str(), 0600), 0);
    EXPECT_FALSE(cache.load(9));
}

TEST_F(OverviewCacheTest, WithoutAFolderNothingIsKept) {
    const OverviewCache none{fs::path()};
    none.store(overview(), 7);
    EXPECT_FALSE(none.load(7));
}

TEST_F(OverviewCacheTest, DeletesWhatWasUsedLongestAgoAndNothingElse) {
    CacheLimits limits;
    const OverviewCache generous(cacheFolder());
    generous.store(overview(), 1);
    const std::uint64_t size = fs::file_size(generous.fileOf(1));
    limits.bytes = 2 * size;
    const OverviewCache cache(cacheFolder(), limits);
    const auto used = [&](std::uint64_t movie, int hours) {
        fs::last_write_time(cache.fileOf(movie), fs::file_time_type::clock::now() - std::chrono::hours(hours));
    };
    generous.store(overview(), 2);
    used(1, 3);
    used(2, 2);
    folder_.write("cache/overview/notes.txt", std::string(10'000, 'x'));
    ASSERT_TRUE(cache.load(1)) << "which makes it the one used last";
    cache.store(overview(), 3);
    EXPECT_TRUE(cache.load(1));
    EXPECT_FALSE(cache.load(2));
    EXPECT_TRUE(cache.load(3));
    EXPECT_TRUE(fs::exists(cacheFolder() / "notes.txt"));
    used(1, 24 * 91);
    cache.store(overview(), 3);
    EXPECT_FALSE(cache.load(1));
}

TEST_F(OverviewCacheTest, AMovieIsRecognisedByItsContent) {
    std::string content(300'000, 'a');
    folder_.write("a.mov", content);
    const auto identity = movieIdentity(folder_ / "a.mov");
    ASSERT_TRUE(identity);
    fs::rename(folder_ / "a.mov", folder_ / "b.mov");
    EXPECT_EQ(movieIdentity(folder_ / "b.mov"), identity);
    for (const std::size_t at : {std::size_t{3}, content.size() - 3}) {
        std::string changed = content;
        changed[at] = 'b';
        folder_.write("c.mov", changed);
        EXPECT_NE(movieIdentity(folder_ / "c.mov"), identity);
    }
    folder_.write("c.mov", content + "a");
    EXPECT_NE(movieIdentity(folder_ / "c.mov"), identity);
    folder_.write("empty.mov", "");
    EXPECT_TRUE(movieIdentity(folder_ / "empty.mov"));
    EXPECT_FALSE(movieIdentity(folder_ / "missing.mov"));
    EXPECT_FALSE(movieIdentity(folder_.path()));
}

}  // namespace
}  // namespace lumivastor::render
