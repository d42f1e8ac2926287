// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/microphone_watch.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

using enum MicrophoneTrouble;

constexpr SoundLevel kZeros{};
constexpr SoundLevel kHiss{-70, -82, false};
constexpr SoundLevel kVoice{-20, -32, false};
constexpr SoundLevel kCut{0, -3, true};

/// A microphone that is heard in pieces of 20 ms.
class MicrophoneWatchTest : public testing::Test {
  protected:
    MicrophoneWatchTest() { watch_.begin("", now_); }

    void hear(const SoundLevel& level, double seconds) {
        for (const double until = now_ + seconds; now_ < until - 1e-9; now_ += 0.02) {
            watch_.add(level, now_, now_ + 0.02);
        }
    }
    MicrophoneTrouble trouble() const { return watch_.report(now_).trouble; }

    double now_ = 100;
    MicrophoneWatch watch_;
};

TEST_F(MicrophoneWatchTest, AVoiceIsNoTrouble) {
    for (int i = 0; i < 20; ++i) {
        hear(kVoice, 1);
        hear(kHiss, 4.8);
        EXPECT_EQ(trouble(), none) << i;
    }
}

TEST_F(MicrophoneWatchTest, SilenceIsToldAfterFiveSeconds) {
    hear(kZeros, 4.9);
    EXPECT_EQ(trouble(), none);
    hear(kZeros, 0.2);
    EXPECT_EQ(trouble(), noSignal);
    hear(kVoice, 0.1);
    EXPECT_EQ(trouble(), none) << "it is over at once";
}

TEST_F(MicrophoneWatchTest, NoiseAloneIsToldAfterFiveSeconds) {
    hear(kVoice, 2);
    hear(kHiss, 4.9);
    EXPECT_EQ(trouble(), none);
    hear(kHiss, 0.2);
    EXPECT_EQ(trouble(), onlyNoise);
    hear({MicrophoneWatch::kNoise, -70, false}, 0.02);
    EXPECT_EQ(trouble(), none) << "the limit itself is a signal";
    // Silence after noise is silence, as soon as it alone has lasted long enough.
    hear(kHiss, 5.1);
    hear(kZeros, 5.1);
    EXPECT_EQ(trouble(), noSignal);
}

TEST_F(MicrophoneWatchTest, NothingAtAllIsSilence) {
    hear(kVoice, 1);
    EXPECT_EQ(watch_.report(now_ + 5.9).trouble, none);
    EXPECT_EQ(watch_.report(now_ + 6.1).trouble, noSignal);
    watch_.end();
    EXPECT_EQ(watch_.report(now_ + 60).trouble, none) << "its end is reported elsewhere";
    watch_.begin("", now_ + 60);
    EXPECT_EQ(watch_.report(now_ + 64).trouble, none);
}

TEST_F(MicrophoneWatchTest, ClippingIsToldAfterHalfASecond) {
    hear(kCut, 0.48);
    EXPECT_EQ(trouble(), none);
    hear(kCut, 0.06);
    EXPECT_EQ(trouble(), clipping);
    hear(kVoice, MicrophoneWatch::kClipAfterSeconds - 0.1);
    EXPECT_EQ(trouble(), clipping);
    hear(kVoice, 0.2);
    EXPECT_EQ(trouble(), none);
    // Single cuts, like a knock on the table, are none; words with short pauses are.
    for (int i = 0; i < 10; ++i) {
        hear(kCut, 0.3);
        hear(kVoice, 0.3);
        EXPECT_EQ(trouble(), none);
    }
    for (int i = 0; i < 3; ++i) {
        hear(kCut, 0.2);
        hear(kVoice, 0.1);
    }
    EXPECT_EQ(trouble(), clipping);
}

TEST_F(MicrophoneWatchTest, WhatTheServerKnowsComesFirst) {
    hear(kZeros, 6);
    watch_.tell({"mic", "Mikrofon", true, false});
    EXPECT_EQ(watch_.report(now_), (MicrophoneReport{muted, "Mikrofon"}));
    watch_.tell({"out.monitor", "Monitor of Lautsprecher", false, true});
    EXPECT_EQ(trouble(), monitor);
    watch_.tell({"mic", "Mikrofon", false, false});
    EXPECT_EQ(trouble(), noSignal);
}

TEST_F(MicrophoneWatchTest, AnotherDeviceThanTheChosenOneIsTold) {
    watch_.begin("usb", now_);
    EXPECT_EQ(trouble(), none) << "not known yet";
    watch_.tell({"usb", "Funkmikrofon", false, false});
    hear(kVoice, 1);
    EXPECT_EQ(trouble(), none);
    watch_.tell({"mic", "Eingebaut", false, false});
    EXPECT_EQ(watch_.report(now_), (MicrophoneReport{replaced, "Eingebaut"}));
}

}  // namespace
}  // namespace lumivastor::platform
