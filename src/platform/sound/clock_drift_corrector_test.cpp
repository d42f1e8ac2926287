// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/clock_drift_corrector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <utility>
#include <vector>

namespace lumivastor::platform {
namespace {

// A device of which every frame says when it was heard: its value is the true host time's fraction of a second. What
// comes out is compared with the time that the buffers say, frame by frame.
class Simulation {
  public:
    explicit Simulation(double drift, int sampleRate = 8000) : rate_(sampleRate), drift_(drift) {
        options_.sampleRate = sampleRate;
        options_.channels = 1;
    }

    ClockDriftCorrector::Options& options() { return options_; }
    ClockDriftCorrector make() {
        return ClockDriftCorrector(options_, [this](const SoundBuffer& buffer) { check(buffer); });
    }

    double trueSeconds(std::int64_t frame) const {
        return 1000 + lost_ + static_cast<double>(frame) / rate_ * (1 + drift_);
    }
    std::vector<float> sound(std::int64_t frame, int frames) const {
        std::vector<float> values;
        for (int i = 0; i < frames; ++i) {
            const double seconds = trueSeconds(frame + i);
            values.push_back(static_cast<float>(seconds - std::floor(seconds)));
        }
        return values;
    }
    // Time that passes without the device counting it.
    void lose(double seconds) { lost_ += seconds; }

    double worstError() const { return worst_; }
    void forgetErrors() { worst_ = 0; }
    std::int64_t frames() const { return frames_; }
    int jumps() const { return jumps_; }
    double end() const { return end_; }

  private:
    void check(const SoundBuffer& buffer) {
        ASSERT_EQ(buffer.sampleRate, rate_);
        ASSERT_EQ(buffer.channels, 1);
        if (frames_ > 0) {
            ASSERT_GE(buffer.hostSeconds, end_ - 1e-9) << "times never run backward";
        }
        if (frames_ > 0 && buffer.hostSeconds > end_ + 1e-9) {
            ++jumps_;
            run_.clear();
            looked_ = 0;
        }
        for (std::size_t i = 0; i < buffer.frames(); ++i) {
            run_.push_back({buffer.hostSeconds + static_cast<double>(i) / rate_, buffer.values[i]});
        }
        // The edges of a run are interpolated with silence, and tell no time.
        constexpr std::size_t kEdge = 20;
        for (looked_ = std::max(looked_, kEdge); looked_ + kEdge < run_.size(); ++looked_) {
            const auto& [seconds, said] = run_[looked_];
            const double expected = seconds - std::floor(seconds);
            // Around a full second the values fall from one to zero.
            if (expected < 0.04 || expected > 0.96) continue;
            worst_ = std::max(worst_, std::abs(said - expected));
        }
        frames_ += static_cast<std::int64_t>(buffer.frames());
        end_ = buffer.hostSeconds + static_cast<double>(buffer.frames()) / rate_;
    }

    ClockDriftCorrector::Options options_;
    int rate_;
    double drift_;
    double lost_ = 0;
    double worst_ = 0;
    std::int64_t frames_ = 0;
    int jumps_ = 0;
    double end_ = 0;
    std::vector<std::pair<double, double>> run_;  // time and value of each frame
    std::size_t looked_ = 0;                      // how many of them were compared
};

constexpr int kTenMinutes = 10 * 60 * 100;  // buffers of 10 ms

TEST(ClockDriftCorrector, TenMinutesOfDriftStayInPlace) {
    for (const double drift : {200e-6, -200e-6, 300e-6, -300e-6}) {
        Simulation device(drift);
        device.options().jitterSeconds = 0.0005;
        ClockDriftCorrector corrector = device.make();
        for (int i = 0; i < kTenMinutes; ++i)
            corrector.add(i * 80, device.trueSeconds(i * 80), device.sound(i * 80, 80));
        corrector.finish();
        EXPECT_LT(device.worstError(), 0.0003) << "drift " << drift;
        EXPECT_EQ(device.jumps(), 0);
        // As many frames as the host clock counts, not the device.
        EXPECT_NEAR(static_cast<double>(device.frames()), 600 * 8000 * (1 + drift), 3);
    }
}

TEST(ClockDriftCorrector, TenMinutesOfDriftAndJitterStayInPlace) {
    for (const double drift : {200e-6, -200e-6}) {
        for (unsigned seed = 1; seed <= 3; ++seed) {
            std::mt19937 random(seed);
            std::uniform_real_distribution<double> jitter(-0.02, 0.02);
            Simulation device(drift);
            ClockDriftCorrector corrector = device.make();
            for (int i = 0; i < kTenMinutes; ++i) {
                corrector.add(i * 80, device.trueSeconds(i * 80) + jitter(random), device.sound(i * 80, 80));
                if (i == 1000) {
                    EXPECT_LT(device.worstError(), 0.008) << "at the beginning, drift " << drift << ", seed " << seed;
                    device.forgetErrors();
                }
            }
            corrector.finish();
            EXPECT_LT(device.worstError(), 0.003) << "drift " << drift << ", seed " << seed;
            EXPECT_EQ(device.jumps(), 0);
        }
    }
}

TEST(ClockDriftCorrector, LostBuffersBecomeJumps) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> jitter(-0.02, 0.02);
    Simulation device(200e-6);
    ClockDriftCorrector corrector = device.make();
    int lost = 0;
    bool lastWasLost = false;
    for (int i = 0; i < kTenMinutes; ++i) {
        const double arrival = device.trueSeconds(i * 80) + jitter(random);
        if (i % 1009 == 500 || i % 5003 == 2000 || i % 5003 == 2001) {
            lost += lastWasLost ? 0 : 1;
            lastWasLost = true;
            continue;
        }
        lastWasLost = false;
        corrector.add(i * 80, arrival, device.sound(i * 80, 80));
        if (i == 1000) device.forgetErrors();
    }
    corrector.finish();
    EXPECT_EQ(device.jumps(), lost);
    EXPECT_LT(device.worstError(), 0.003);
}

TEST(ClockDriftCorrector, AGapThatNobodyCountedIsSeen) {
    Simulation device(100e-6);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> jitter(-0.005, 0.005);
    ClockDriftCorrector corrector = device.make();
    for (int i = 0; i < 6000; ++i) {
        if (i == 3000) device.lose(0.4);
        corrector.add(i * 80, device.trueSeconds(i * 80) + jitter(random), device.sound(i * 80, 80));
    }
    corrector.finish();
    EXPECT_EQ(device.jumps(), 1);
    EXPECT_LT(device.worstError(), 0.004) << "also of what came right behind the gap";
}

TEST(ClockDriftCorrector, AFewMillisecondsThatNobodyCountedAreSeen) {
    // As sound servers without priority lose them: a cycle of theirs now and then, and what arrives comes in steps.
    Simulation device(100e-6);
    ClockDriftCorrector corrector = device.make();
    int losses = 0;
    for (int i = 0; i < 30000; ++i) {
        if (i % 1000 == 700) {
            device.lose(0.0107);
            ++losses;
        }
        corrector.add(i * 80, device.trueSeconds(i * 80) + 0.001 * (i % 10 - 5), device.sound(i * 80, 80));
        if (i % 1000 == 699) {
            EXPECT_LT(device.worstError(), 0.004) << "long after a loss, at " << i;
        }
        if (i % 1000 == 850) device.forgetErrors();
    }
    corrector.finish();
    EXPECT_EQ(device.jumps(), losses);
}

TEST(ClockDriftCorrector, ABusySecondIsNoLoss) {
    Simulation device(0);
    ClockDriftCorrector corrector = device.make();
    for (int i = 0; i < 6000; ++i) {
        // Every ten seconds, one and a half during which all but a few arrivals are late.
        const bool isLate = i % 1000 >= 500 && i % 1000 < 650 && i % 37 != 0;
        corrector.add(i * 80, device.trueSeconds(i * 80) + (isLate ? 0.02 : -0.0001), device.sound(i * 80, 80));
    }
    corrector.finish();
    EXPECT_EQ(device.jumps(), 0);
}

TEST(ClockDriftCorrector, BehindABusyTimeOfLossesEverythingIsInPlace) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> chance(0, 1);
    Simulation device(-200e-6);
    ClockDriftCorrector corrector = device.make();
    int lateUntil = 0;
    for (int i = 0; i < 60000; ++i) {
        const bool isBusy = i < 50000;
        if (isBusy && chance(random) < 0.01) device.lose(0.0107);
        if (isBusy && chance(random) < 0.01) lateUntil = i + static_cast<int>(40 * chance(random));
        const double arrival = device.trueSeconds(std::max(i, lateUntil) * 80);
        corrector.add(i * 80, arrival + 0.01 * chance(random), device.sound(i * 80, 80));
        if (i == 50500) device.forgetErrors();
    }
    corrector.finish();
    // Arrivals of 0 to 10 ms late are 5 ms on average.
    EXPECT_LT(device.worstError(), 0.009);
}

TEST(ClockDriftCorrector, LateArrivalsAreNoGap) {
    Simulation device(0);
    ClockDriftCorrector corrector = device.make();
    for (int i = 0; i < 6000; ++i) {
        // The machine stands still for a third of a second every ten seconds, then everything arrives at once.
        const double arrival = i % 1000 >= 500 && i % 1000 < 533 ? device.trueSeconds((i / 1000 * 1000 + 533) * 80)
                                                                 : device.trueSeconds(i * 80);
        corrector.add(i * 80, arrival, device.sound(i * 80, 80));
    }
    corrector.finish();
    EXPECT_EQ(device.jumps(), 0);
    EXPECT_LT(device.worstError(), 0.001);
    EXPECT_NEAR(static_cast<double>(device.frames()), 6000 * 80, 3);
}

TEST(ClockDriftCorrector, ADeviceThatBeginsAnewGoesOnAtTheRightTime) {
    Simulation device(-150e-6);
    ClockDriftCorrector corrector = device.make();
    for (int i = 0; i < 1000; ++i) corrector.add(i * 80, device.trueSeconds(i * 80), device.sound(i * 80, 80));
    corrector.restart();
    device.lose(30);
    for (int i = 0; i < 1000; ++i) corrector.add(i * 80, device.trueSeconds(i * 80), device.sound(i * 80, 80));
    corrector.finish();
    EXPECT_EQ(device.jumps(), 1);
    EXPECT_LT(device.worstError(), 0.001);
    EXPECT_NEAR(device.end(), device.trueSeconds(80000), 0.001);
}

TEST(ClockDriftCorrector, TimesNeverRunBackward) {
    Simulation device(0);
    ClockDriftCorrector corrector = device.make();
    for (int i = 0; i < 1000; ++i) corrector.add(i * 80, device.trueSeconds(i * 80), device.sound(i * 80, 80));
    // As when another device takes over that says smaller latencies. The check is in the simulation.
    corrector.restart();
    device.lose(-10.2);
    for (int i = 0; i < 1000; ++i) corrector.add(i * 80, device.trueSeconds(i * 80), device.sound(i * 80, 80));
    corrector.finish();
    EXPECT_LT(device.worstError(), 0.001);
}

TEST(ClockDriftCorrector, AShortSoundComesOutWhole) {
    Simulation device(0);
    ClockDriftCorrector corrector = device.make();
    corrector.add(0, device.trueSeconds(0), device.sound(0, 80));
    EXPECT_EQ(device.frames(), 0);
    corrector.finish();
    EXPECT_EQ(device.frames(), 80);
    corrector.finish();
    EXPECT_EQ(device.frames(), 80);
}

TEST(ClockDriftCorrector, AtFullRateTheSoundItselfIsUntouched) {
    // A tone that a clock 300 millionths fast has counted comes out as the tone that was heard.
    constexpr double kDrift = -300e-6;
    constexpr double kHertz = 1000;
    ClockDriftCorrector::Options options;
    options.jitterSeconds = 0.0005;
    double worst = 0;
    ClockDriftCorrector corrector(options, [&](const SoundBuffer& buffer) {
        ASSERT_EQ(buffer.channels, 2);
        for (std::size_t i = 0; i < buffer.frames(); ++i) {
            const double seconds = buffer.hostSeconds + static_cast<double>(i) / 48000;
            if (seconds < 520) continue;  // until the drift is known
            const double expected = std::sin(2 * M_PI * kHertz * seconds);
            // 6 % of full scale at 1 kHz is 10 µs.
            worst = std::max(
                {worst, std::abs(buffer.values[2 * i] - expected), std::abs(buffer.values[2 * i + 1] + expected)});
        }
    });
    for (int i = 0; i < 6000; ++i) {
        std::vector<float> values;
        for (int j = 0; j < 480; ++j) {
            const double seconds = 500 + (i * 480 + j) / 48000.0 * (1 + kDrift);
            values.push_back(static_cast<float>(std::sin(2 * M_PI * kHertz * seconds)));
            values.push_back(-values.back());
        }
        corrector.add(i * 480, 500 + i * 480 / 48000.0 * (1 + kDrift), values);
    }
    EXPECT_LT(worst, 0.06);
}

}  // namespace
}  // namespace lumivastor::platform
