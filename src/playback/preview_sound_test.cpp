// SPDX-License-Identifier: GPL-3.0-or-later

// What the player plays is heard again with the sound capture. This is the lowest folder that may use both.

#include "platform/sound/silent_output.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "platform/pulse/pulse_output.h"
#include "platform/pulse/pulse_sound_system.h"
#include "support/await.h"
#include "support/heard_sound.h"
#include "support/player_fixture.h"
#include "support/sound_rig.h"

// Sound outputs, alone and under a player, with real sound servers.

namespace lumivastor::playback {
namespace {

// What an output asks for: a count of frames, and the reason why it was lost.
struct Listener {
    std::atomic<std::int64_t> asked = 0;
    std::mutex lock;
    std::vector<std::string> losses;

    platform::SoundOutput::Client client() {
        return {[this](std::span<float> values) {
                    std::fill(values.begin(), values.end(), 0.0F);
                    asked += static_cast<std::int64_t>(values.size() / 2);
                },
                [this](const RecorderError& reason) {
                    const std::lock_guard hold(lock);
                    losses.push_back(reason.message());
                }};
    }
    std::vector<std::string> lost() {
        const std::lock_guard hold(lock);
        return losses;
    }
};

// A run of any output: it asks ahead, what is heard grows up to what was asked for, and stops with it.
void expectARun(platform::SoundOutput& output) {
    Listener listener;
    output.start(listener.client());
    std::int64_t before = 0;
    ASSERT_TRUE(await([&] {
        const std::int64_t heard = output.heardFrames();
        EXPECT_GE(heard, before);
        EXPECT_LE(heard, listener.asked);
        before = heard;
        return heard > 24000;
    })) << (listener.lost().empty() ? "nothing is heard" : listener.lost().front());
    output.stop();
    const std::int64_t asked = listener.asked;
    const std::int64_t heard = output.heardFrames();
    EXPECT_GE(heard, before);
    // While another one is heard for a while, this one would ask several times if it still ran.
    Listener other;
    const auto running = platform::makeSilentOutput();
    running->start(other.client());
    EXPECT_TRUE(await([&] { return running->heardFrames() > 4800; }));
    running->stop();
    EXPECT_EQ(listener.asked, asked);
    EXPECT_EQ(output.heardFrames(), heard);
    EXPECT_TRUE(listener.lost().empty());
}

TEST(SilentOutput, RunsByTheHostClockAgainAndAgain) {
    const auto output = platform::makeSilentOutput();
    EXPECT_EQ(output->heardFrames(), 0);
    output->stop();
    expectARun(*output);
    const double before = hostClockSeconds();
    Listener listener;
    output->start(listener.client());
    ASSERT_TRUE(await([&] { return output->heardFrames() >= 9600; }));
    // However busy the machine: real time is what this output runs by.
    EXPECT_GE(hostClockSeconds() - before, 0.2) << "never faster than the clock";
    output->stop();
}

TEST(PulseOutput, RunsAgainAndAgain) {
    const PulseRig rig;
    Listener listener;
    const auto output = pulse::makePulseOutput(rig.address());
    EXPECT_EQ(output->heardFrames(), 0);
    output->stop();
    for (int run = 0; run < 3; ++run) expectARun(*output);
    output->start(listener.client());
}

// By how much what is heard lags behind the host clock when a quarter of a second of a run has been heard: how long
// it took to get going.
double startDelay(platform::SoundOutput& output) {
    Listener listener;
    const double begun = hostClockSeconds();
    output.start(listener.client());
    double delay = 100;
    EXPECT_TRUE(await([&] {
        const double heard = static_cast<double>(output.heardFrames()) / 48000;
        delay = hostClockSeconds() - begun - heard;
        return heard > 0.25;
    }));
    output.stop();
    return delay;
}

// Runs of outputs that were just made, which find the sinks as nobody uses them, and of others that have rested.
void expectSoonStarts(const std::string& address) {
    // A machine that is busy makes some starts late. Those that wait for a block are late by a second or two.
    constexpr int kOutputs = 3;
    constexpr int kRuns = 2;
    std::vector<double> delays;
    for (int i = 0; i < kOutputs; ++i) {
        const auto output = pulse::makePulseOutput(address);
        for (int run = 0; run < kRuns; ++run) delays.push_back(startDelay(*output));
    }
    std::cout << "runs began to be heard after";
    for (const double delay : delays) std::cout << " " << std::lround(delay * 1000);
    std::cout << " ms\n";
    std::sort(delays.begin(), delays.end());
    EXPECT_LT(delays.front(), 0.15);
    EXPECT_LT(delays[delays.size() / 2], 0.5);
}

TEST(PulseOutput, BeginsSoonOnASinkThatWorksInLongBlocks) {
    PulseRig rig;
    EXPECT_GT(rig.blockLength(), 1) << "as it is while nobody uses it";
    expectSoonStarts(rig.address());
}

TEST(PulseOutput, BeginsSoonWithPipeWireToo) {
    const PipeWireRig rig;
    expectSoonStarts(rig.pulseAddress());
}

TEST(PulseOutput, KeepsItsSinkWorkingInShortBlocksBetweenRuns) {
    PulseRig rig;
    const auto output = pulse::makePulseOutput(rig.address());
    const auto isShort = [&] { return rig.blockLength() < 0.1; };
    EXPECT_TRUE(await(isShort)) << "before the first run";
    for (int run = 0; run < 2; ++run) {
        Listener listener;
        output->start(listener.client());
        ASSERT_TRUE(await([&] { return output->heardFrames() > 4800; }));
        EXPECT_TRUE(isShort());
        output->stop();
        EXPECT_TRUE(isShort()) << "after a run";
    }
}

TEST(PulseOutput, AfterABlockOfSilenceTheSinkPlaysWhatIsHeardThen) {
    PulseRig rig;
    const auto output = pulse::makePulseOutput(rig.address());
    Listener listener;
    output->start(listener.client());
    ASSERT_TRUE(await([&] { return rig.isPlaying(); }));
    const std::int64_t before = output->heardFrames();
    ASSERT_TRUE(await([&] { return output->heardFrames() > before + 9600; }));
    // What is on its way is what the server was given ahead: nothing but that was left out or said twice.
    const std::int64_t ahead = listener.asked - output->heardFrames();
    EXPECT_GE(ahead, 0);
    EXPECT_LT(ahead, 4800);
    output->stop();
    EXPECT_FALSE(rig.isPlaying());
    EXPECT_TRUE(listener.lost().empty());
}

TEST(PulseOutput, IsLostAtOnceWhereNoServerIs) {
    const TemporaryFolder folder;
    const auto output = pulse::makePulseOutput(nobodysAddress(folder));
    for (int run = 0; run < 2; ++run) {
        Listener listener;
        output->start(listener.client());
        ASSERT_TRUE(await([&] { return !listener.lost().empty(); }));
        EXPECT_EQ(listener.lost(), std::vector<std::string>{"Kein Tonserver gefunden."});
        EXPECT_EQ(output->heardFrames(), 0);
        output->stop();
    }
}

TEST(PulseOutput, GivesUpAServerThatDoesNotAnswer) {
    PulseRig rig;
    rig.freeze(true);
    const auto output = pulse::makePulseOutput(rig.address());
    Listener listener;
    output->start(listener.client());
    ASSERT_TRUE(await([&] { return !listener.lost().empty(); }));
    EXPECT_EQ(listener.lost(), std::vector<std::string>{"Der Tonserver antwortet nicht."});
    rig.freeze(false);
    output->stop();
    expectARun(*output);
}

TEST(PulseOutput, IsLostWhenTheServerFallsSilentOrDies) {
    PulseRig rig;
    const auto output = pulse::makePulseOutput(rig.address());
    for (const bool isKilled : {false, true}) {
        Listener listener;
        output->start(listener.client());
        ASSERT_TRUE(await([&] { return output->heardFrames() > 4800; }));
        if (isKilled) {
            rig.kill();
        } else {
            rig.freeze(true);
        }
        ASSERT_TRUE(await([&] { return !listener.lost().empty(); }));
        EXPECT_EQ(listener.lost(), std::vector<std::string>{isKilled ? "Der Tonserver ist nicht mehr da."
                                                                     : "Der Tonserver antwortet nicht mehr."});
        const std::int64_t heard = output->heardFrames();
        EXPECT_GT(heard, 0);
        EXPECT_LE(heard, listener.asked);
        if (!isKilled) rig.freeze(false);
        output->stop();
        EXPECT_EQ(output->heardFrames(), heard);
    }
    rig.start();
    expectARun(*output);
}

class PlayedAloud : public PlayerFixture {
  protected:
    // A busy machine makes servers stumble, and what comes behind that late; a clock that is wrong is wrong each time.
    void expectSoundOnTime(const std::string& address) {
        options_.pictures = 30 * 6;
        options_.sounds = {{}};
        makeMovie();
        constexpr int kAttempts = 3;
        double error = 1;
        for (int i = 0; i < kAttempts && !(std::abs(error) < kOnTime); ++i) error = playedError(address);
        EXPECT_LT(std::abs(error), kOnTime);
    }

  private:
    static constexpr double kOnTime = 0.03;

    // Plays the movie, which has a beep at every whole second, and compares when each beep was heard with when the
    // player said that its moment was: the error in the middle, in seconds.
    double playedError(const std::string& address) {
        ends_ = 0;
        pulse::PulseSoundSystem sounds(address);
        HeardSound heard;
        const auto source = sounds.systemAudio(48000, 2);
        source->start(heard.handler(), heard.endHandler());
        EXPECT_TRUE(heard.awaitFrames(4800));

        player_ = std::make_unique<Player>(loop_, pulse::makePulseOutput(address));
        player_->onPlayedToEnd([this] { ++ends_; });
        player_->onError([this](const RecorderError& error) { errors_.push_back(error.message()); });
        player_->setItem(item());
        EXPECT_TRUE(seek(0.5));
        player_->play();
        struct Reading {
            double host;
            double clock;
        };
        std::vector<Reading> readings;
        EXPECT_TRUE(await([&] {
            readings.push_back({hostClockSeconds(), player_->currentTime()});
            return ends_ == 1;
        }));
        EXPECT_TRUE(errors_.empty());
        EXPECT_TRUE(heard.awaitBeeps(5));
        source->stop();

        std::vector<double> errors;
        for (const double beep : heard.beeps()) {
            const auto after = std::find_if(readings.begin(), readings.end(),
                                            [beep](const Reading& reading) { return reading.host > beep; });
            if (after == readings.begin() || after == readings.end()) continue;
            const Reading& before = *std::prev(after);
            const double part = (beep - before.host) / (after->host - before.host);
            const double clock = before.clock + part * (after->clock - before.clock);
            errors.push_back(clock - std::round(clock));
        }
        EXPECT_GE(errors.size(), 4u);
        if (errors.empty()) return 1;
        std::cout << "the player's clock when a beep was heard: " << describeErrors(errors) << "\n";
        std::nth_element(errors.begin(), errors.begin() + static_cast<std::ptrdiff_t>(errors.size() / 2), errors.end());
        return errors[errors.size() / 2];
    }
};

TEST_F(PlayedAloud, BeepsAreHeardWhenTheClockSaysSo) {
    const PulseRig rig;
    expectSoundOnTime(rig.address());
}

TEST_F(PlayedAloud, BeepsAreHeardWhenTheClockSaysSoWithPipeWireToo) {
    const PipeWireRig rig;
    expectSoundOnTime(rig.pulseAddress());
}

TEST_F(PlayedAloud, AServerThatDiesLeavesThePicturesRunning) {
    PulseRig rig;
    options_.pictures = 90;
    options_.sounds = {{}};
    makeMovie();
    player_ = std::make_unique<Player>(loop_, pulse::makePulseOutput(rig.address()));
    player_->onPlayedToEnd([this] { ++ends_; });
    player_->onError([this](const RecorderError& error) { errors_.push_back(error.message()); });
    player_->setItem(item());
    player_->play();
    ASSERT_TRUE(PlayerFixture::await([this] { return player_->currentTime() > 0.5; }));
    rig.kill();
    ASSERT_TRUE(PlayerFixture::await([this] { return ends_ == 1; }));
    EXPECT_EQ(errors_, std::vector<std::string>{"Der Tonserver ist nicht mehr da."});
    EXPECT_NEAR(player_->currentTime(), 89.0 / 30, 1e-9);
}

}  // namespace
}  // namespace lumivastor::playback
