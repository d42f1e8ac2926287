// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/space_watch.h"

#include <gtest/gtest.h>

#include <string>

namespace lumivastor::capture {
namespace {

constexpr std::uint64_t kRate = 1'000'000;  // bytes a second

RecordingHealth at(double seconds, double secondsLeft) {
    RecordingHealth health;
    health.seconds = seconds;
    health.bytes = static_cast<std::uint64_t>(seconds) * kRate;
    health.usableBytes = static_cast<std::uint64_t>(secondsLeft * kRate);
    return health;
}

std::string sentenceAt(double secondsLeft) {
    SpaceWatch watch;
    watch.update(at(60, secondsLeft));
    return watch.sentence();
}

TEST(SpaceWatch, SaysWholeMinutesBelowAQuarterOfAnHour) {
    EXPECT_EQ(sentenceAt(900), "");
    EXPECT_EQ(sentenceAt(899), "Noch Platz für etwa 14 Minuten.");
    EXPECT_EQ(sentenceAt(720), "Noch Platz für etwa 12 Minuten.");
    EXPECT_EQ(sentenceAt(120), "Noch Platz für etwa 2 Minuten.");
    EXPECT_EQ(sentenceAt(119), "Noch Platz für etwa eine Minute.");
    EXPECT_EQ(sentenceAt(59), "Der Platz reicht für weniger als eine Minute, dann endet die Aufnahme.");
    EXPECT_EQ(sentenceAt(0), "Der Platz reicht für weniger als eine Minute, dann endet die Aufnahme.");
}

TEST(SpaceWatch, SaysNothingBeforeTheRateIsKnown) {
    SpaceWatch watch;
    watch.update(at(9, 100));
    EXPECT_EQ(watch.sentence(), "");
    RecordingHealth still = at(60, 100);
    still.bytes = 0;
    watch.update(still);
    EXPECT_EQ(watch.sentence(), "");
    RecordingHealth unknown = at(61, 100);
    unknown.usableBytes.reset();
    watch.update(unknown);
    EXPECT_EQ(watch.sentence(), "");
}

TEST(SpaceWatch, DoesNotSwayBetweenTwoNumbers) {
    SpaceWatch watch;
    watch.update(at(60, 899));
    watch.update(at(61, 905));
    EXPECT_EQ(watch.sentence(), "Noch Platz für etwa 14 Minuten.");
    watch.update(at(62, 839));
    EXPECT_EQ(watch.sentence(), "Noch Platz für etwa 13 Minuten.");
    watch.update(at(63, 841));
    EXPECT_EQ(watch.sentence(), "Noch Platz für etwa 13 Minuten.");
    watch.update(at(64, 2000));
    EXPECT_EQ(watch.sentence(), "");
}

TEST(SpaceWatch, MovingPicturesTakeMoreThanTheAverage) {
    SpaceWatch watch;
    RecordingHealth health;
    // Ten minutes of a still screen, then half a minute at ten times the rate.
    for (health.seconds = 1; health.seconds <= 600; ++health.seconds) {
        health.bytes += kRate / 10;
        health.usableBytes = 800 * kRate;
        watch.update(health);
    }
    EXPECT_EQ(watch.sentence(), "");
    for (; health.seconds <= 661; ++health.seconds) {
        health.bytes += kRate;
        watch.update(health);
    }
    EXPECT_EQ(watch.sentence(), "Noch Platz für etwa 13 Minuten.");
}

}  // namespace
}  // namespace lumivastor::capture
