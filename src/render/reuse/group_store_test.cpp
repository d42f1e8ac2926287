// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/reuse/group_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "render/reuse/film_record.h"
#include "render/reuse/kept_groups.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "support/text_file.h"

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

imaging::ContentHash content(int number) {
    return {1, static_cast<std::uint64_t>(number)};
}

GroupKey key(int number, int saved = media::RateCarry::kSteps) {
    return {content(number), {.saved = saved}};
}

// Three pictures of one unit each.
media::CodedGroup group(std::uint8_t value) {
    media::CodedGroup group;
    for (std::uint8_t length = 1; length <= 3; ++length) {
        group.bytes.insert(group.bytes.end(), {0, 0, 0, length});
        group.bytes.insert(group.bytes.end(), length, value);
        group.sizes.push_back(4U + length);
    }
    group.carry.saved = 3;
    group.carry.motionFactor = 22;
    return group;
}

TEST(GroupRecord, IsWrittenAndRead) {
    GroupRecord record = recordOf(key(7, -2), group(9));
    record.end.isInMotion = true;
    EXPECT_EQ(parseRecord(lineOf(record)), record);
    EXPECT_EQ(record.pictures, 3u);
    EXPECT_EQ(record.bytes, 18u);
}

TEST(GroupRecord, AnythingElseIsNone) {
    const std::string right = lineOf(recordOf(key(7), group(9)));
    EXPECT_FALSE(parseRecord(""));
    EXPECT_FALSE(parseRecord(right + " 1"));
    EXPECT_FALSE(parseRecord(right.substr(0, right.size() - 1)));
    EXPECT_FALSE(parseRecord("x" + right));
    for (const auto& [from, to] : {std::pair{" 3 18 ", " 0 18 "},
                                   {" 3 18 ", " 3 0 "},
                                   {" 3 18 ", " 99999 18 "},
                                   {" 3 18 ", " 3 99999999999 "},
                                   {" 3 18 ", " 3 18x "},
                                   {" 8 0 0 ", " 9 0 0 "}}) {
        std::string wrong = right;
        wrong.replace(wrong.find(from), std::string(from).size(), to);
        EXPECT_FALSE(parseRecord(wrong)) << wrong;
    }
}

class KeptGroupsTest : public testing::Test {
  protected:
    fs::path file() const { return folder_ / "cache" / "x.groups"; }

    TemporaryFolder folder_;
};

TEST_F(KeptGroupsTest, AreThereForTheNextProgram) {
    {
        KeptGroups kept(file());
        EXPECT_TRUE(kept.places().empty());
        kept.keep(key(1), group(10));
        kept.keep(key(2), group(20));
        ASSERT_EQ(kept.places().size(), 2u);
        EXPECT_EQ(kept.read(kept.places()[0]), group(10));
    }
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    KeptGroups kept(file());
    ASSERT_EQ(kept.places().size(), 2u);
    EXPECT_EQ(kept.places()[1].record.key, key(2));
    EXPECT_EQ(kept.read(kept.places()[1]), group(20));
    kept.clear();
    EXPECT_TRUE(kept.places().empty());
    EXPECT_TRUE(KeptGroups(file()).places().empty());
}

TEST_F(KeptGroupsTest, AfterAnAbruptEndTheWholeOnesAreThere) {
    {
        KeptGroups kept(file());
        for (std::uint8_t i = 0; i < 5; ++i) kept.keep(key(i), group(i));
    }
    const std::string whole = readText(file());
    std::size_t last = 6;
    for (std::size_t length = whole.size() - 1; length > 8; length -= 9) {
        writeText(file(), whole.substr(0, length));
        KeptGroups kept(file());
        ASSERT_LE(kept.places().size(), last);
        last = kept.places().size();
        for (const auto& place : kept.places()) ASSERT_TRUE(kept.read(place));
        if (length % 4 != 0) continue;
        // It goes on behind them.
        const std::size_t before = kept.places().size();
        kept.keep(key(9), group(99));
        const KeptGroups again(file());
        ASSERT_EQ(again.places().size(), before + 1) << length;
        EXPECT_EQ(again.read(again.places().back()), group(99));
    }
    EXPECT_EQ(last, 0u);
}

TEST_F(KeptGroupsTest, DamageIsSeenWhenTheyAreRead) {
    {
        KeptGroups kept(file());
        for (int i = 0; i < 3; ++i) kept.keep(key(i), group(static_cast<std::uint8_t>(200 + i)));
    }
    const std::string right = readText(file());
    for (std::size_t i = 0; i < right.size(); i += 5) {
        std::string wrong = right;
        wrong[i] = static_cast<char>(wrong[i] ^ 0x10);
        writeText(file(), wrong);
        const KeptGroups kept(file());
        for (const auto& place : kept.places()) {
            const auto read = kept.read(place);
            if (!read) continue;
            EXPECT_TRUE(std::ranges::any_of(std::vector<std::uint8_t>{200, 201, 202}, [&](std::uint8_t each) {
                return read->bytes == group(each).bytes;
            })) << i;
        }
    }
}

TEST_F(KeptGroupsTest, OneProgramAtATimeAdds) {
    KeptGroups first(file());
    first.keep(key(1), group(1));
    KeptGroups second(file());
    EXPECT_FALSE(second.mayKeep());
    second.keep(key(2), group(2));
    second.clear();
    EXPECT_EQ(KeptGroups(file()).places().size(), 1u);
    EXPECT_EQ(second.read(second.places()[0]), group(1)) << "reading is free";
}

TEST_F(KeptGroupsTest, WhatIsNoFileOfOursStaysAsItIs) {
    fs::create_directories(file().parent_path());
    fs::create_symlink(folder_ / "elsewhere", file());
    folder_.write("elsewhere", "text");
    KeptGroups kept(file());
    kept.keep(key(1), group(1));
    EXPECT_EQ(folder_.read("elsewhere"), "text");
    KeptGroups none{fs::path()};
    none.keep(key(1), group(1));
    EXPECT_TRUE(none.places().empty());
}

class GroupStoreTest : public testing::Test {
  protected:
    GroupStore::Options options() {
        GroupStore::Options options;
        options.folder = folder_ / "cache";
        options.recording = 77;
        options.films = {folder_ / "film.mp4"};
        return options;
    }

    TemporaryFolder folder_;
};

TEST_F(GroupStoreTest, FindsWhatBeganInTheSameWay) {
    {
        GroupStore store(options());
        store.keep(key(1, 4), group(1));
        store.keep(key(1, 5), group(2));
    }
    const GroupStore store(options());
    EXPECT_TRUE(store.hasContent(content(1)));
    EXPECT_FALSE(store.hasContent(content(2)));
    EXPECT_EQ(store.find(key(1, 5)), group(2));
    EXPECT_EQ(store.find(key(1, 4)), group(1));
    EXPECT_FALSE(store.find(key(1, 6)));
    GroupStore::Options other = options();
    other.recording = 78;
    EXPECT_TRUE(GroupStore(other).isEmpty());
    other.folder.clear();
    EXPECT_TRUE(GroupStore(other).isEmpty());
}

// A film of two groups, and its record.
std::vector<GroupRecord> recordFilm(const fs::path& film, GroupStore& store) {
    TestMovieOptions movie;
    movie.container = "mp4";
    movie.pictures = 60;
    movie.sounds = {{}};
    makeTestMovie(film, movie);
    const media::Asset asset(film);
    std::vector<GroupRecord> records;
    const auto samples = media::sampleIndex(asset, asset.tracks(media::TrackKind::video).front().id);
    const std::string bytes = readText(film);
    for (const std::size_t from : {std::size_t{0}, std::size_t{40}}) {
        media::CodedGroup coded;
        for (std::size_t i = from; i < (from == 0 ? 40 : 60); ++i) {
            const std::string sample =
                bytes.substr(static_cast<std::size_t>(samples[i].offset), static_cast<std::size_t>(samples[i].bytes));
            coded.bytes.insert(coded.bytes.end(), sample.begin(), sample.end());
            coded.sizes.push_back(static_cast<std::uint32_t>(sample.size()));
        }
        records.push_back(recordOf(key(static_cast<int>(from)), coded));
    }
    store.filmIsFinished(film, records, content(5));
    return records;
}

TEST_F(GroupStoreTest, TakesGroupsAndSoundFromAFilm) {
    {
        GroupStore store(options());
        store.keep(key(3), group(3));
        recordFilm(folder_ / "film.mp4", store);
    }
    {
        const GroupStore store(options());
        EXPECT_FALSE(store.hasContent(content(3))) << "the film has it";
        EXPECT_EQ(store.find(key(0))->sizes.size(), 40u);
        EXPECT_EQ(store.find(key(40))->sizes.size(), 20u);
        EXPECT_TRUE(store.findSound(content(5)));
        EXPECT_FALSE(store.findSound(content(6)));
    }
    // Wherever it is, and whatever its name.
    fs::rename(folder_ / "film.mp4", folder_ / "another.mp4");
    EXPECT_TRUE(GroupStore(options()).isEmpty());
    GroupStore::Options moved = options();
    moved.films = {folder_ / "none.mp4", folder_ / "another.mp4"};
    EXPECT_FALSE(GroupStore(moved).isEmpty());
}

TEST_F(GroupStoreTest, AFilmOfOtherBytesHasNothing) {
    {
        GroupStore store(options());
        recordFilm(folder_ / "film.mp4", store);
    }
    // The record still names it.
    fs::path record;
    for (const auto& entry : fs::directory_iterator(folder_ / "cache")) {
        if (entry.path().extension() == ".film") record = entry.path();
    }
    const auto parsed = parseFilmRecord(readText(record));
    ASSERT_TRUE(parsed);
    std::string bytes = readText(folder_ / "film.mp4");
    const media::Asset asset(folder_ / "film.mp4");
    const auto pictures = media::sampleIndex(asset, asset.tracks(media::TrackKind::video).front().id);
    bytes[static_cast<std::size_t>(pictures[45].offset) + 6] ^= 1;
    const auto sounds = media::sampleIndex(asset, asset.tracks(media::TrackKind::audio).front().id);
    bytes[static_cast<std::size_t>(sounds[9].offset)] ^= 1;
    folder_.write("film.mp4", bytes);
    const auto film = RecordedFilm::open(folder_ / "film.mp4", *parsed);
    ASSERT_TRUE(film);
    EXPECT_TRUE(film->group(0));
    EXPECT_FALSE(film->group(1));
    EXPECT_FALSE(film->soundTrack());
    // Nor one of another length.
    FilmRecord longer = *parsed;
    longer.groups.push_back(longer.groups.front());
    EXPECT_FALSE(RecordedFilm::open(folder_ / "film.mp4", longer));
    EXPECT_FALSE(RecordedFilm::open(folder_ / "missing.mp4", *parsed));
}

TEST(FilmRecord, IsWrittenAndRead) {
    FilmRecord record;
    record.groups = {recordOf(key(1), group(1)), recordOf(key(2, 3), group(2))};
    EXPECT_EQ(parseFilmRecord(textOf(record)), record);
    record.sound = content(4);
    record.soundChecksum = content(5);
    const std::string text = textOf(record);
    EXPECT_EQ(parseFilmRecord(text), record);
    for (std::size_t length = 0; length < text.size(); ++length) {
        const auto parsed = parseFilmRecord(text.substr(0, length));
        EXPECT_TRUE(!parsed || parsed->groups.size() < 2) << length;
    }
}

}  // namespace
}  // namespace lumivastor::render
