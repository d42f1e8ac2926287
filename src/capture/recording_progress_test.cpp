// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording_progress.h"

#include <gtest/gtest.h>

namespace lumivastor::capture {
namespace {

using Session = RecordingProgress::Session;

TEST(NewPictures, OnlyCompleteAndStartedFramesWithAPictureAreUsed) {
    for (const platform::FrameStatus status :
         {platform::FrameStatus::complete, platform::FrameStatus::idle, platform::FrameStatus::blank,
          platform::FrameStatus::suspended, platform::FrameStatus::started, platform::FrameStatus::stopped}) {
        const bool usable = status == platform::FrameStatus::complete || status == platform::FrameStatus::started;
        EXPECT_EQ(isNewPicture(status, true), usable);
        EXPECT_FALSE(isNewPicture(status, false));
    }
}

TEST(RecordingProgress, TheFirstSampleBeginsTheSession) {
    RecordingProgress progress;
    EXPECT_EQ(progress.elapsed(50), 0);
    EXPECT_EQ(progress.beginSessionIfNeeded(true, hostTime(40.25), 40.5), Session::begun);
    EXPECT_TRUE(progress.sessionStarted);
    EXPECT_EQ(progress.t0Host, 40.25);
    EXPECT_EQ(progress.t0Media, 40.5);
    EXPECT_EQ(progress.lastPTS, hostTime(40.25));
    EXPECT_EQ(progress.duration(), 0);
    EXPECT_EQ(progress.elapsed(42.25), 2);
    EXPECT_EQ(progress.beginSessionIfNeeded(true, hostTime(41), 41), Session::running);
    EXPECT_EQ(progress.beginSessionIfNeeded(false, hostTime(41), 41), Session::running);
    EXPECT_EQ(progress.t0Host, 40.25);
}

TEST(RecordingProgress, AWriterThatDoesNotWriteBeginsNoSession) {
    RecordingProgress progress;
    EXPECT_EQ(progress.beginSessionIfNeeded(false, hostTime(40), 40), Session::refused);
    EXPECT_FALSE(progress.sessionStarted);
    EXPECT_EQ(progress.beginSessionIfNeeded(true, hostTime(41), 41), Session::begun);
    EXPECT_EQ(progress.t0Host, 41);
}

TEST(RecordingProgress, TheLastTimeOnlyEverRises) {
    RecordingProgress progress;
    progress.beginSessionIfNeeded(true, hostTime(10), 10);
    progress.pictureWritten(hostTime(12));
    progress.sampleWritten(hostTime(11));
    EXPECT_EQ(progress.duration(), 2);
    progress.sampleWritten(hostTime(13.5));
    EXPECT_EQ(progress.duration(), 3.5);
    EXPECT_EQ(progress.framesWritten, 1);
}

TEST(RecordingProgress, AFirstPictureFromBeforeTheSessionIsShownFromItsBegin) {
    RecordingProgress progress;
    progress.beginSessionIfNeeded(true, hostTime(10), 10);
    EXPECT_EQ(progress.pictureTime(hostTime(9.98)), hostTime(10));
    EXPECT_EQ(progress.pictureTime(hostTime(10.02)), hostTime(10.02));
    progress.pictureWritten(hostTime(10));
    EXPECT_EQ(progress.pictureTime(hostTime(9.99)), hostTime(9.99));
}

TEST(RecordingProgress, OnlyASessionThatSoundBeganHasPicturesBeforeIt) {
    RecordingProgress progress;
    EXPECT_FALSE(progress.isBeforeSession(hostTime(9)));
    progress.beginSessionIfNeeded(true, hostTime(10.000001), 10);
    EXPECT_TRUE(progress.isBeforeSession(hostTime(10)));
    EXPECT_FALSE(progress.isBeforeSession(hostTime(10.000001)));
    EXPECT_FALSE(progress.isBeforeSession(hostTime(11)));
}

TEST(HostTimes, AreExactToAFractionOfAFrameOfSound) {
    for (const double seconds : {0.0, 81234.567890123, 4e6 + 1.0 / 3}) {
        EXPECT_NEAR(hostTime(seconds).seconds(), seconds, 1.0 / 48000 / 20);
    }
    // Sums with the clocks of sound and pictures stay exact.
    for (const std::int32_t timescale : {48000, 44100, 600, 60000}) {
        const MediaTime sum = hostTime(1) + MediaTime{1, timescale};
        EXPECT_EQ(sum - hostTime(1), (MediaTime{1, timescale}));
    }
}

}  // namespace
}  // namespace lumivastor::capture
