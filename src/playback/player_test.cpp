// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/player.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "base/host_clock.h"
#include "media/reading/asset_reader.h"
#include "media/reading/sound_joins.h"
#include "playback/played_ranges.h"
#include "support/player_fixture.h"

// Playing: what is shown and heard when, and what may change meanwhile.

namespace lumivastor::playback {
namespace {

class PlayerPlaying : public PlayerFixture {
  protected:
    PlayerPlaying() {
        options_.pictures = 120;
        options_.keyFrameInterval = 40;
        options_.sounds = {{}};
        options_.sounds.front().continuous = true;
    }

    // The sound of the movie's stretches back to back, as a reader gives it, softened where they are joined.
    std::vector<float> soundOf(const std::vector<Interval>& ranges) const {
        std::vector<float> all;
        for (const Interval& range : ranges) {
            media::AssetReader reader(std::make_shared<const media::Asset>(folder_ / "a.mov"));
            reader.setTimeRange(TimeRange::between(MediaTime::fromSeconds(range.start, 48000),
                                                   MediaTime::fromSeconds(range.end, 48000)));
            auto& output = reader.addAudioMixOutput(item().audioMix);
            EXPECT_TRUE(reader.startReading());
            std::vector<float> stretch;
            while (const auto sample = output.copyNextSample()) {
                stretch.insert(stretch.end(), sample->values.begin(), sample->values.end());
            }
            media::softenJoins(
                {0, static_cast<std::int64_t>(stretch.size() / 2), &range != &ranges.front(), &range != &ranges.back()},
                0, stretch, {});
            all.insert(all.end(), stretch.begin(), stretch.end());
        }
        return all;
    }

    // What was played, without the silence in which the player waited for the disk.
    static std::vector<float> withoutLead(const std::vector<float>& values) {
        const auto first = std::find_if(values.begin(), values.end(), [](float value) { return value != 0; });
        return {first, values.end()};
    }
};

TEST_F(PlayerPlaying, EveryFrameIsThatOfItsTimeAndComesWhenItIsDue) {
    makeMovie();
    PlayerItem watched = item();
    const auto made = std::make_shared<std::atomic<double>>(-1);  // of which moment a frame was made last
    watched.compositor = [made](const imaging::Picture& screen, const std::optional<imaging::Picture>&,
                                const FrameRequest& frame) {
        *made = frame.seconds;
        return screen;
    };
    open(watched);
    player_->play();
    EXPECT_EQ(player_->rate(), 1);
    // The clock moves on when the frame of its time is shown and the next one made, so that none can be late.
    playUntil(2, [&] {
        const double now = player_->currentTime();
        ASSERT_TRUE(await([&] { return lastNumber() == expectedNumber(now) && *made > now; })) << now;
    });
    std::vector<int> numbers;
    for (const Shown& shown : shown_) {
        EXPECT_EQ(shown.number, expectedNumber(shown.seconds));
        EXPECT_GE(shown.clock + 0.001, shown.seconds) << "shown before it was due";
        EXPECT_LE(shown.clock - 0.001, shown.seconds + kStep) << "shown too late";
        numbers.push_back(shown.number);
    }
    // The first one stood there before.
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    ASSERT_EQ(numbers.size(), 61u);
    for (std::size_t i = 0; i < numbers.size(); ++i) EXPECT_EQ(numbers[i], static_cast<int>(i));
    EXPECT_EQ(player_->statistics().framesDropped, 0);
    EXPECT_FALSE(times_.empty());
}

TEST_F(PlayerPlaying, PausesOnTheFrameThatIsShownAndGoesOnFromThere) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(1.02);
    player_->pause();
    EXPECT_EQ(player_->rate(), 0);
    EXPECT_FALSE(sound_->isRunning());
    EXPECT_NEAR(player_->currentTime(), 1, 0.035);
    settle();
    ASSERT_TRUE(await([this] { return std::abs(shown_.back().seconds - player_->currentTime()) < 1e-9; }));
    EXPECT_EQ(lastNumber(), expectedNumber(player_->currentTime()));
    const double paused = player_->currentTime();
    shown_.clear();
    player_->play();
    playUntil(1.5);
    EXPECT_NEAR(shown_.front().seconds, paused, 1e-9);
    EXPECT_EQ(lastNumber(), expectedNumber(shown_.back().seconds));
}

TEST_F(PlayerPlaying, JumpsOverWhatIsCutAwayInPictureAndSoundAlike) {
    makeMovie();
    PlayerItem cut = item();
    cut.playedRanges = {{0.5, 1.25}, {2.1, 2.6}, {3.5, 3.8}};
    open(cut);
    ASSERT_TRUE(seek(0.5));
    shown_.clear();
    player_->play();
    playUntil(10);
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(player_->rate(), 0);
    EXPECT_NEAR(player_->currentTime(), 113.0 / 30, 1e-9);
    const PlayedRanges ranges(cut.playedRanges, cut.duration, 30);
    std::optional<double> expected = ranges.playableFrom(0);
    double last = -1;
    std::int64_t dropped = player_->statistics().framesDropped;
    for (const Shown& shown : shown_) {
        EXPECT_EQ(shown.number, expectedNumber(shown.seconds)) << shown.seconds;
        if (shown.seconds == last) continue;
        last = shown.seconds;
        for (; expected && *expected < shown.seconds - 1e-9 && dropped > 0; --dropped) {
            expected = ranges.frameAfter(*expected);
        }
        ASSERT_TRUE(expected);
        EXPECT_NEAR(shown.seconds, *expected, 1e-9);
        EXPECT_GE(shown.clock + 0.001, shown.seconds);
        expected = ranges.frameAfter(*expected);
    }
    EXPECT_FALSE(expected) << "the last frame was not shown";
    const std::vector<float> played = withoutLead(sound_->sound());
    const std::vector<float> source = withoutLead(soundOf(cut.playedRanges));
    ASSERT_GE(played.size(), source.size());
    for (std::size_t i = 0; i < source.size(); ++i) ASSERT_NEAR(played[i], source[i], 2e-3) << i / 2 << " frames on";
    for (std::size_t i = source.size(); i < played.size(); ++i) ASSERT_EQ(played[i], 0) << "behind the end";
}

TEST_F(PlayerPlaying, FromWithinACutItPlaysWhatComesNext) {
    makeMovie();
    PlayerItem cut = item();
    cut.playedRanges = {{0, 1}, {2.5, 4}};
    open(cut);
    ASSERT_TRUE(seek(1.7));
    EXPECT_EQ(lastNumber(), 51) << "seeking reaches what is cut away";
    shown_.clear();
    player_->play();
    playUntil(2.8);
    EXPECT_EQ(shown_.front().number, 75);
}

TEST_F(PlayerPlaying, EndsOnTheLastFrameAndCanBePlayedAgain) {
    makeMovie();
    open(item());
    ASSERT_TRUE(seek(3.5));
    player_->play();
    playUntil(100);
    EXPECT_EQ(ends_, 1);
    EXPECT_NEAR(player_->currentTime(), 119.0 / 30, 1e-9);
    ASSERT_TRUE(await([this] { return lastNumber() == 119; }));
    // From there the last frame plays again. Behind it nothing does, which is said again.
    player_->play();
    playUntil(100);
    EXPECT_EQ(ends_, 2);
    EXPECT_NEAR(player_->currentTime(), 119.0 / 30, 1e-9);
    ASSERT_TRUE(seek(4));
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 3; }));
    EXPECT_EQ(player_->rate(), 0);
    EXPECT_EQ(player_->currentTime(), 4);
    ASSERT_TRUE(seek(0));
    shown_.clear();
    player_->play();
    playUntil(0.5);
    EXPECT_EQ(ends_, 3);
    EXPECT_EQ(lastNumber(), expectedNumber(shown_.back().seconds));
}

TEST_F(PlayerPlaying, NothingToPlayEndsAtOnce) {
    makeMovie();
    PlayerItem none = item();
    none.playedRanges = {};
    open(none);
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(player_->currentTime(), 0);
}

TEST_F(PlayerPlaying, ASlowCompositorCostsPicturesAndNeverSound) {
    makeMovie();
    std::mutex lock;
    std::condition_variable wake;
    int allowed = 1;
    std::atomic<int> made = 0;
    PlayerItem slow = item();
    slow.compositor = [&](const imaging::Picture& screen, const std::optional<imaging::Picture>&, const FrameRequest&) {
        std::unique_lock hold(lock);
        wake.wait(hold, [&] { return allowed > 0; });
        --allowed;
        ++made;
        return screen;
    };
    const auto allow = [&](int more) {
        const std::lock_guard hold(lock);
        allowed += more;
        wake.notify_all();
    };
    open(slow);
    player_->play();
    // Half a second passes for every frame that gets made.
    for (int i = 0; i < 7; ++i) {
        const double before = player_->currentTime();
        while (player_->currentTime() < std::min(before + 0.5, 3.8)) {
            sound_->advance(0.01);
            settle();
        }
        const int was = made;
        allow(1);
        EXPECT_TRUE(await([&] { return made > was; }));
    }
    allow(1000);
    while (ends_ == 0) {
        sound_->advance(0.01);
        settle();
    }
    for (const Shown& shown : shown_) EXPECT_EQ(shown.number, expectedNumber(shown.seconds));
    EXPECT_GT(player_->statistics().framesDropped, 50);
    const std::vector<float> played = withoutLead(sound_->sound());
    const std::vector<float> source = withoutLead(soundOf({{0, 4}}));
    ASSERT_GE(played.size(), source.size());
    // Before what its compositor holds on to.
    player_.reset();
    for (std::size_t i = 0; i < source.size(); ++i) ASSERT_NEAR(played[i], source[i], 1e-6) << i / 2;
}

TEST_F(PlayerPlaying, ANewCompositorMakesTheVeryNextFrame) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(0.5);
    player_->setVideoCompositor([](const imaging::Picture& screen, const std::optional<imaging::Picture>&,
                                   const FrameRequest&) { return screen.faded(0); });
    settle();
    shown_.clear();
    playUntil(1);
    ASSERT_GT(shown_.size(), 5u);
    // One may have been on its way.
    for (std::size_t i = 1; i < shown_.size(); ++i) EXPECT_EQ(shown_[i].frame->pixel(5, 5)[3], 0) << i;
}

TEST_F(PlayerPlaying, ANewMixIsHeardWithinATenthOfASecond) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(0.6);
    const std::size_t changed = sound_->sound().size();
    const double heard = static_cast<double>(sound_->heardFrames());
    player_->setAudioMix({{item().audioMix.front().trackId, 0.25F}});
    playUntil(1.2);
    player_->setAudioMix({});
    const std::size_t silenced = sound_->sound().size();
    playUntil(1.5);
    const std::vector<float> sound = sound_->sound();
    const std::vector<float> source = soundOf({{0, 4}});
    const std::size_t lead = sound.size() - withoutLead(sound).size();
    const std::size_t sourceLead = source.size() - withoutLead(source).size();
    ASSERT_GE(lead, sourceLead);
    const auto original = [&](std::size_t i) { return source[i - lead + sourceLead]; };
    constexpr std::size_t kGlide = 480;  // values: 5 ms
    for (std::size_t i = changed + kGlide; i < silenced; ++i) ASSERT_NEAR(sound[i], 0.25F * original(i), 1e-5) << i;
    for (std::size_t i = silenced + kGlide; i < sound.size(); ++i) ASSERT_EQ(sound[i], 0) << i;
    // What had been given to the device by then was heard this much later.
    EXPECT_LE((static_cast<double>(changed / 2) - heard) / 48000, 0.1 - 0.005);
}

TEST_F(PlayerPlaying, VolumesAboveOneAmplifyUpToFullScale) {
    makeMovie();
    PlayerItem loud = item();
    loud.audioMix.front().volume = 3;
    open(loud);
    player_->play();
    playUntil(0.5);
    const std::vector<float> played = withoutLead(sound_->sound());
    const std::vector<float> source = withoutLead(soundOf({{0, 4}}));
    int cutOff = 0;
    for (std::size_t i = 0; i < played.size(); ++i) {
        ASSERT_NEAR(played[i], std::clamp(3 * source[i], -1.0F, 1.0F), 1e-5) << i;
        cutOff += std::abs(played[i]) == 1 ? 1 : 0;
    }
    EXPECT_GT(cutOff, 1000);
}

TEST_F(PlayerPlaying, NewRangesAreFollowedWhilePlaying) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(0.5);
    // What is being played now is cut away, and the end comes earlier.
    player_->setPlayedRanges({{0, 0.4}, {2, 2.5}});
    shown_.clear();
    // There are no frames for what the device still has to play of it.
    while (player_->currentTime() < 2) {
        ASSERT_LT(player_->currentTime(), 0.61);
        sound_->advance(0.01);
        settle();
    }
    playUntil(2.2);
    const auto jumped = std::find_if(shown_.begin(), shown_.end(), [](const Shown& one) { return one.seconds > 0.61; });
    ASSERT_NE(jumped, shown_.end());
    EXPECT_NEAR(jumped->seconds, 2, 1e-9);
    playUntil(100);
    EXPECT_EQ(ends_, 1);
    EXPECT_NEAR(player_->currentTime(), 74.0 / 30, 1e-9);
    for (const Shown& shown : shown_) EXPECT_EQ(shown.number, expectedNumber(shown.seconds));
}

TEST_F(PlayerPlaying, TheSameRangesAndVolumesAgainLeaveTheSoundAlone) {
    makeMovie();
    PlayerItem cut = item();
    cut.playedRanges = {{0, 1.25}, {2.1, 3.8}};
    open(cut);
    player_->play();
    playUntil(3.5, [&] {
        // As every edit does.
        player_->setPlayedRanges({{2.1, 3.8}, {0, 1.25}});
        player_->setAudioMix(cut.audioMix);
    });
    const std::vector<float> played = withoutLead(sound_->sound());
    const std::vector<float> source = withoutLead(soundOf(cut.playedRanges));
    constexpr std::size_t kCompared = 2 * 48000 * 2;  // up to well behind the jump
    ASSERT_GE(std::min(played.size(), source.size()), kCompared);
    for (std::size_t i = 0; i < kCompared; ++i) ASSERT_NEAR(played[i], source[i], 2e-3) << i / 2 << " frames on";
}

TEST_F(PlayerPlaying, WhatIsCutAwayIsNotShownHoweverLateThePicturesAre) {
    // One key picture: everything in between is decoded on the way to where playing goes on.
    options_.keyFrameInterval = 120;
    makeMovie();
    open(item());
    player_->play();
    playUntil(0.5);
    player_->setPlayedRanges({{0, 0.4}, {3, 3.9}});
    shown_.clear();
    while (player_->currentTime() < 3) {
        sound_->advance(0.01);
        settle();
    }
    // The clock is long past it before the decoder gets there.
    sound_->advance(0.4);
    ASSERT_TRUE(await([this] { return !shown_.empty() && shown_.back().seconds >= 3; }));
    while (ends_ == 0) {
        sound_->advance(0.01);
        settle();
    }
    int jumped = 0;
    for (const Shown& shown : shown_) {
        if (shown.seconds < 1) continue;
        ++jumped;
        EXPECT_GE(shown.number, 90) << shown.seconds;
        EXPECT_LE(shown.number, expectedNumber(shown.seconds));
    }
    EXPECT_GT(jumped, 0);
}

TEST_F(PlayerPlaying, WithoutASoundServerTheHostClockIsTheClock) {
    makeMovie();
    open(item());
    sound_->breakDown();
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(errors_, std::vector<std::string>{"Kein Tonserver gefunden."});
    EXPECT_NEAR(player_->currentTime(), 119.0 / 30, 1e-9);
    for (const Shown& shown : shown_) EXPECT_EQ(shown.number, expectedNumber(shown.seconds));
}

TEST_F(PlayerPlaying, ASoundServerThatGoesAwayLeavesTheRestSilent) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(1);
    // From here on real time is the clock; what is shown can be as far on as that at most.
    const double lost = hostClockSeconds();
    sound_->lose();
    ASSERT_TRUE(await([this] { return shown_.back().seconds > 1.0; }));
    EXPECT_LT(shown_.back().seconds, 1.1 + hostClockSeconds() - lost) << "goes on from where it was";
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(errors_, std::vector<std::string>{"Der Tonserver ist weg."});
    for (const Shown& shown : shown_) EXPECT_EQ(shown.number, expectedNumber(shown.seconds));
    // The next time, it is asked for again.
    ASSERT_TRUE(seek(0));
    player_->play();
    EXPECT_EQ(sound_->starts(), 2);
    EXPECT_TRUE(sound_->isRunning());
}

TEST_F(PlayerPlaying, AMovieWithoutSoundPlaysByTheHostClock) {
    options_.sounds.clear();
    options_.pictures = 30;
    makeMovie();
    open(item());
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(sound_->starts(), 0);
    EXPECT_TRUE(errors_.empty());
    EXPECT_EQ(lastNumber(), 29);
}

TEST_F(PlayerPlaying, WithoutAnOutputItPlaysAsWell) {
    options_.pictures = 30;
    makeMovie();
    openSilently(item());
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(lastNumber(), 29);
}

TEST_F(PlayerPlaying, SoundAloneHasNoFrames) {
    makeMovie();
    PlayerItem sound = item();
    sound.screenTrackId.reset();
    player_ = std::make_unique<Player>(loop_, nullptr);
    player_->onPlayedToEnd([this] { ++ends_; });
    player_->onFrame([this](const Player::Frame&, double, Player::FrameKind) { shown_.emplace_back(); });
    player_->setItem(sound);
    EXPECT_TRUE(seek(3.5));
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_TRUE(shown_.empty());
}

TEST_F(PlayerPlaying, SeekingWhilePlayingGoesOnFromThere) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(0.5);
    std::optional<bool> finished;
    player_->seek(2.5, [&](bool isFinished) { finished = isFinished; });
    shown_.clear();
    ASSERT_TRUE(await([&] { return finished.has_value(); }));
    EXPECT_TRUE(*finished);
    EXPECT_EQ(shown_.front().number, 75);
    EXPECT_EQ(player_->rate(), 1);
    playUntil(3);
    EXPECT_EQ(lastNumber(), expectedNumber(shown_.back().seconds));
}

TEST_F(PlayerPlaying, TheWebcamShowsTheSameMomentsAndHoldsItsLastPicture) {
    makeMovie();
    TestMovieOptions webcam;
    webcam.pictures = 45;
    webcam.keyFrameInterval = 15;
    makeTestMovie(folder_ / "w.mov", webcam);
    PlayerItem both = item();
    const auto asset = std::make_shared<const media::Asset>(folder_ / "w.mov");
    const int track = both.movie.addTrack(media::TrackKind::video);
    both.movie.insertEmpty(track, {{}, {1, 1}});
    both.movie.insert(track, asset, asset->tracks(media::TrackKind::video).front().id, {{}, {45, 30}}, {1, 1});
    both.webcamTrackId = track;
    std::mutex lock;
    std::vector<std::pair<double, int>> seen;
    both.compositor = [&](const imaging::Picture& screen, const std::optional<imaging::Picture>& face,
                          const FrameRequest& frame) {
        const std::lock_guard hold(lock);
        seen.emplace_back(frame.seconds, face ? pictureNumber(*face) : -1);
        return screen;
    };
    open(both);
    player_->play();
    playUntil(100);
    // It goes on composing until it is gone.
    player_.reset();
    int before = 0;
    int during = 0;
    int after = 0;
    for (const auto& [seconds, number] : seen) {
        const int frame = static_cast<int>(std::lround(seconds * 30));
        ++(frame < 30 ? before : frame < 75 ? during : after);
        EXPECT_EQ(number, frame < 30 ? -1 : std::min(frame - 30, 44)) << seconds;
    }
    // Of each part at least some, also where a slow machine drops frames.
    EXPECT_GT(before, 10);
    EXPECT_GT(during, 10);
    EXPECT_GT(after, 10);
}

TEST_F(PlayerPlaying, MayBeDestroyedWhilePlaying) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(0.3);
    std::size_t shown = shown_.size();
    sound_->advance(0.05);
    player_.reset();
    settle();
    EXPECT_EQ(shown_.size(), shown) << "nothing comes after it has gone";
}

TEST_F(PlayerPlaying, AnotherItemTakesTheScreen) {
    makeMovie();
    open(item());
    player_->play();
    playUntil(1);
    options_.pictures = 50;
    makeTestMovie(folder_ / "b.mov", options_);
    std::filesystem::rename(folder_ / "b.mov", folder_ / "a.mov");
    shown_.clear();
    player_->setItem(item());
    EXPECT_EQ(player_->rate(), 0);
    EXPECT_EQ(player_->currentTime(), 0);
    ASSERT_TRUE(await([this] { return !shown_.empty(); }));
    EXPECT_EQ(shown_.front().number, 0);
    ASSERT_TRUE(seek(49 / 30.0));
    EXPECT_EQ(lastNumber(), 49);
}

}  // namespace
}  // namespace lumivastor::playback
