// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pauses/pauses.h"

#include <gtest/gtest.h>

#include "capture/pauses/pause_clock.h"

namespace lumivastor::capture {
namespace {

// 10 to 12, 15 to 15.5, and one from 20 on.
Pauses several() {
    Pauses pauses;
    pauses.begin(10, false);
    pauses.end(12);
    pauses.begin(15, true);
    pauses.end(15.5);
    pauses.begin(20, false);
    return pauses;
}

TEST(PausesOfARecording, WithoutThemMovieTimeIsHostTime) {
    const Pauses none;
    EXPECT_FALSE(none.isPaused());
    for (const double t : {-1.0, 0.0, 1000.25, 1e9 / 3}) {
        EXPECT_EQ(none.movieTime(t), t);
        EXPECT_EQ(none.nearestMovieTime(t), t);
        EXPECT_EQ(none.hostTime(t), t);
    }
}

TEST(PausesOfARecording, AreLeftOutOfTheMoviesTime) {
    const Pauses pauses = several();
    EXPECT_TRUE(pauses.isPaused());
    EXPECT_EQ(pauses.movieTime(9.75), 9.75);
    EXPECT_EQ(pauses.movieTime(10), std::nullopt);
    EXPECT_EQ(pauses.movieTime(11.75), std::nullopt);
    EXPECT_EQ(pauses.movieTime(12), 10);
    EXPECT_EQ(pauses.movieTime(14), 12);
    EXPECT_EQ(pauses.movieTime(15.25), std::nullopt);
    EXPECT_EQ(pauses.movieTime(15.5), 13);
    EXPECT_EQ(pauses.movieTime(1e9), std::nullopt);
    EXPECT_EQ(pauses.nearestMovieTime(11.75), 10);
    EXPECT_EQ(pauses.nearestMovieTime(15.25), 13);
    EXPECT_EQ(pauses.nearestMovieTime(1e9), 17.5);
}

TEST(PausesOfARecording, TimesGoOnWithoutAJumpAndComeBack) {
    const Pauses pauses = several();
    double before = pauses.nearestMovieTime(8);
    for (double t = 8; t < 25; t += 1.0 / 64) {
        const double now = pauses.nearestMovieTime(t);
        EXPECT_GE(now, before) << t;
        EXPECT_LE(now - before, 1.0 / 64) << t;
        if (const auto movie = pauses.movieTime(t)) {
            EXPECT_EQ(*movie, now);
            EXPECT_EQ(pauses.hostTime(*movie), t);
        }
        before = now;
    }
    EXPECT_EQ(pauses.hostTime(10), 12) << "the picture that a pause leaves is that of its end";
    EXPECT_EQ(pauses.hostTime(17.5), 20) << "no end is known";
}

TEST(PausesOfARecording, NeverOverlap) {
    Pauses pauses;
    pauses.end(5);
    EXPECT_EQ(pauses, Pauses());
    pauses.begin(10, false);
    pauses.begin(11, true);
    pauses.end(9);
    pauses.end(12);
    EXPECT_EQ(pauses.list(), (std::vector<Pause>{{10, 10, false}}));
    pauses.begin(8, false);
    EXPECT_EQ(pauses.list().back(), (Pause{10, std::nullopt, false}));
}

TEST(PausesOfARecording, TheClockGivesThemTheirTimes) {
    double now = 100;
    PauseClock clock([&now] { return now; });
    const auto before = clock.pauses();
    EXPECT_FALSE(clock.resume());
    EXPECT_TRUE(clock.pause(true));
    now = 103;
    EXPECT_FALSE(clock.pause(false));
    EXPECT_TRUE(clock.resume());
    EXPECT_FALSE(clock.resume());
    EXPECT_EQ(clock.pauses()->list(), (std::vector<Pause>{{100, 103, true}}));
    EXPECT_TRUE(before->list().empty()) << "what was handed out stays as it was";
}

}  // namespace
}  // namespace lumivastor::capture
