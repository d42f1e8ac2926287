// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/free_space.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace lumivastor::capture {
namespace {

constexpr std::uint64_t kLargeDisk = 1'000'000'000'000;

// 1920 × 1080 at 60 pictures a second: about 10 Mbit/s.
constexpr SpaceNeed kUsual{1.25e6, 0};

TEST(RequiredSpace, KeepsAComfortableRestOnLargeDisks) {
    EXPECT_GE(requiredSpace(kUsual, kLargeDisk), 64'000'000u);
    EXPECT_LT(requiredSpace(kUsual, kLargeDisk), 100'000'000u);
    // Twenty seconds of a very large screen are more than that.
    const SpaceNeed large{10e6, 0};
    EXPECT_GE(requiredSpace(large, kLargeDisk), 200'000'000u);
}

TEST(RequiredSpace, LeavesMostOfASmallVolumeForTheRecording) {
    for (const std::uint64_t capacity : {20'000'000u, 50'000'000u, 200'000'000u}) {
        EXPECT_LT(requiredSpace(kUsual, capacity), capacity / 2) << capacity;
        // Two seconds in memory, a second between two looks: these have to fit always.
        EXPECT_GE(requiredSpace(kUsual, capacity), 3'750'000u) << capacity;
    }
}

TEST(RequiredSpace, GrowsWithWhatFinishingTakes) {
    const SpaceNeed long_{kUsual.bytesPerSecond, finishingBytes(648'000, 21'600, 1'000'000)};
    EXPECT_EQ(requiredSpace(long_, kLargeDisk) - requiredSpace(kUsual, kLargeDisk), long_.finishingBytes);
    // Three hours with a million pointer events, whose document alone has 190 MB.
    EXPECT_GT(long_.finishingBytes, 200'000'000u);
}

TEST(FreeSpaceRule, StopsBelowTheLimitOnly) {
    const std::uint64_t limit = requiredSpace(kUsual, kLargeDisk);
    EXPECT_FALSE(mustStop({limit, kLargeDisk}, kUsual));
    EXPECT_TRUE(mustStop({limit - 1, kLargeDisk}, kUsual));
    EXPECT_TRUE(mustStop({0, kLargeDisk}, kUsual));
}

TEST(NotCompleted, SaysHowToCompleteTheRecording) {
    const RecorderError reason("capture.json konnte nicht geschrieben werden: Der Datenträger ist voll.");
    EXPECT_EQ(
        notCompleted(reason, "/a/b c", true).message(),
        "capture.json konnte nicht geschrieben werden: Der Datenträger ist voll. Sobald auf dem Datenträger wieder "
        "Platz ist, lässt sich die Aufnahme vervollständigen: beim nächsten Start von LumiVastor von selbst, oder mit "
        "dem Befehl lumivastor recover '/a/b c'");
    EXPECT_EQ(
        notCompleted(RecorderError("Nein."), "/it's", false).message(),
        "Nein. Die Aufnahme lässt sich noch vervollständigen: beim nächsten Start von LumiVastor von selbst, oder mit "
        "dem Befehl lumivastor recover '/it'\\''s'");
}

TEST(FreeSpaceOf, AsksTheVolumeOfTheFolder) {
    const TemporaryFolder folder;
    const auto space = freeSpaceOf(folder.path());
    ASSERT_TRUE(space.has_value());
    EXPECT_GT(space->capacity, 0u);
    EXPECT_LE(space->available, space->capacity);
    EXPECT_FALSE(freeSpaceOf(folder / "nirgends").has_value());
}

}  // namespace
}  // namespace lumivastor::capture
