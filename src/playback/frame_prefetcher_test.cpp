// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/frame_prefetcher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <utility>

#include "support/await.h"
#include "support/player_fixture.h"

namespace lumivastor::playback {
namespace {

constexpr std::size_t kPictureBytes = 128 * 96 * 3 / 2;

class Supplies : public PlayerFixture {
  protected:
    Supplies() {
        options_.pictures = 120;
        options_.keyFrameInterval = 30;
    }

    media::SegmentedTrack track() const {
        const PlayerItem whole = item();
        return *whole.movie.track(*whole.screenTrackId);
    }

    static TimeRange stretch(double from, double to) { return TimeRange::between(momentOf(from), momentOf(to)); }
};

TEST_F(Supplies, DecodeTheirGoalsAndTellOfIt) {
    makeMovie();
    std::atomic<int> told = 0;
    FramePrefetcher prefetcher(track(), {"test.supply", FrameSeeker::Before::firstPicture, 1000 * kPictureBytes},
                               [&] { ++told; });
    EXPECT_FALSE(prefetcher.find(momentOf(1)));
    prefetcher.setGoals({stretch(1, 1.5), stretch(3, 3.2)}, momentOf(1));
    ASSERT_TRUE(lumivastor::await([&] { return prefetcher.find(momentOf(3.19)).has_value(); }));
    EXPECT_GT(told, 10);
    for (int number = 30; number < 45; ++number) {
        const auto found = prefetcher.find(momentOf(number / 30.0));
        ASSERT_TRUE(found) << number;
        EXPECT_EQ(pictureNumber(*found->picture), number);
    }
    EXPECT_EQ(pictureNumber(*prefetcher.findBefore(momentOf(2.9))->picture), 45);
    EXPECT_FALSE(prefetcher.error());
}

// Whatever is wished for in whatever order, the last wish comes true: nothing that was given up or turned away for an
// earlier one keeps it from being decoded.
TEST_F(Supplies, TheLastWishComesTrueHoweverLittleFits) {
    makeMovie();
    std::mt19937 random(8);
    for (const std::size_t fitting : {std::size_t{1}, std::size_t{3}, std::size_t{10}}) {
        // Rows are padded; this is a little less than so many.
        FramePrefetcher prefetcher(
            track(), {"test.supply", FrameSeeker::Before::firstPicture, fitting * 2 * kPictureBytes}, [] {});
        for (int i = 0; i < 150; ++i) {
            const int number = static_cast<int>(random() % 120);
            const double seconds = number / 30.0;
            prefetcher.setGoals({stretch(seconds, seconds + 0.001), stretch(seconds, seconds + 2),
                                 stretch(std::max(seconds - 2, 0.0), seconds)},
                                momentOf(seconds));
            if (random() % 3 != 0) continue;
            if (random() % 2 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(random() % 5));
            ASSERT_TRUE(lumivastor::await([&] { return prefetcher.find(momentOf(seconds)).has_value(); })) << number;
            EXPECT_EQ(pictureNumber(*prefetcher.find(momentOf(seconds))->picture), number);
        }
    }
}

TEST_F(Supplies, RestWhenNoMoreFits) {
    makeMovie();
    FramePrefetcher prefetcher(track(), {"test.supply", FrameSeeker::Before::firstPicture, 20 * kPictureBytes}, [] {});
    prefetcher.setGoals({stretch(0, 4)}, momentOf(0));
    ASSERT_TRUE(lumivastor::await([&] { return prefetcher.find(momentOf(0)).has_value(); }));
    // While others decode all of it several times over, one that did not rest would, too.
    constexpr int kTimes = 5;
    for (int i = 0; i < kTimes; ++i) {
        FramePrefetcher whole(track(), {"test.whole", FrameSeeker::Before::firstPicture, 1000 * kPictureBytes}, [] {});
        whole.setGoals({stretch(0, 4)}, momentOf(0));
        ASSERT_TRUE(lumivastor::await([&] { return whole.decodedCount() >= options_.pictures; }));
    }
    EXPECT_LT(prefetcher.decodedCount(), options_.pictures / 2);
    EXPECT_TRUE(prefetcher.find(momentOf(0)));
}

}  // namespace
}  // namespace lumivastor::playback
