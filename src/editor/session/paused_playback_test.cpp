// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "base/interval.h"
#include "editor/session/frame_time.h"
#include "editor/session/transport.h"
#include "support/player_fixture.h"

// A playhead on a real player: what stands after a pause, and that play always plays.

namespace lumivastor::editor {
namespace {

class PausedPlayback : public PlayerFixture {
  protected:
    static constexpr int kFps = 30;
    static constexpr double kStart = 0.5;
    static constexpr double kStep = 0.02;  // seconds of sound that the device plays at a time

    PausedPlayback() {
        options_.pictures = 120;
        options_.keyFrameInterval = 40;
        options_.sounds = {{}};
    }

    void openEditor(const std::vector<Interval>& played) {
        playback::PlayerItem edited = item();
        edited.playedRanges = played;
        open(edited);
        PlayerControls controls;
        controls.play = [this] { player_->play(); };
        controls.pause = [this] {
            player_->pause();
            return player_->currentTime();
        };
        controls.seek = [this](double seconds, std::function<void()> completion) {
            player_->seek(seconds, [completion = std::move(completion)](bool) { completion(); });
        };
        transport_ = std::make_unique<Transport>(std::move(controls), Transport::Options{edited.duration, kFps, [] {}});
        transport_->setPlayed({played.front().start, played.back().end}, played.back().end);
        player_->onTimeChanged([this](double seconds) { transport_->timePassed(seconds); });
        player_->onPlayedToEnd([this] {
            ++ends_;
            transport_->ended(player_->currentTime());
        });
    }

    // Waits for the frame of where the playhead stands: the one that the label names and the tools work on. On a busy
    // machine, playing has shown an older picture for this time if its own was not decoded yet; the still replaces it.
    void expectThePlayheadsFrame() {
        ASSERT_TRUE(await([this] {
            return shown_.back().seconds == transport_->playhead() &&
                   shown_.back().number == frameNumber(transport_->playhead(), kFps);
        })) << "shown is picture "
            << shown_.back().number << " at " << shown_.back().seconds << ", the playhead says "
            << transport_->playhead();
        settle();
        EXPECT_EQ(shown_.back().number, frameNumber(transport_->playhead(), kFps)) << "it stays";
        EXPECT_EQ(player_->currentTime(), transport_->playhead());
    }

    // Play goes on from where the playhead is, or begins again.
    void expectItPlays() {
        transport_->pause();
        const double from = transport_->playhead();
        transport_->toggle();
        ASSERT_TRUE(transport_->isPlaying());
        // From the start there is enough to play for it to show; from near the end, playing may end before.
        const double to = transport_->playhead() == kStart ? kStart + 0.1 : from;
        EXPECT_TRUE(await([&] {
            if (transport_->isPlaying()) sound_->advance(kStep);
            return player_->currentTime() > to;
        })) << "from "
            << from << " to " << player_->currentTime();
        settle();
    }

    // Plays for so long, or to the end. Sound that is not decoded yet is waited for.
    void playFor(double seconds) {
        for (; seconds > 0 && transport_->isPlaying(); seconds -= kStep) {
            const double before = player_->currentTime();
            ASSERT_TRUE(await([&] {
                sound_->advance(std::min(kStep, seconds));
                return !transport_->isPlaying() || player_->currentTime() != before;
            }));
            settle();
        }
    }

    std::unique_ptr<Transport> transport_;
};

TEST_F(PausedPlayback, StandsOnThePlayheadsFrameWheneverItIsPaused) {
    makeMovie();
    // An end on a frame, and starts and ends between two.
    openEditor({{0.31, 1.2}, {1.7, 2.237}, {2.5, 2.62}, {3.115, 3.8}});
    std::mt19937 random(3);
    std::uniform_real_distribution<double> length(0.001, 0.3);
    int began = 0;
    // How far a play gets depends on the machine, and one from the last frame begins again: ends may take a while.
    for (int i = 0; i < 60 || (ends_ == 0 && i < 600); ++i) {
        const double before = transport_->playhead();
        const int ends = ends_;
        transport_->toggle();
        ASSERT_TRUE(transport_->isPlaying());
        if (transport_->playhead() < before) ++began;
        playFor(length(random));
        if (transport_->isPlaying()) transport_->toggle();
        ASSERT_FALSE(transport_->isPlaying());
        ASSERT_NO_FATAL_FAILURE(expectThePlayheadsFrame()) << i;
        if (ends_ > ends) {
            EXPECT_EQ(shown_.back().number, 113) << "the last frame that is played";
        }
    }
    EXPECT_GT(ends_, 0);
    EXPECT_GE(began, ends_ - 1) << "play at the end begins again";
}

TEST_F(PausedPlayback, PlayNeverGoesDeadAtTheEnd) {
    makeMovie();
    for (const double end : {4.0, 3.817, 2.0}) {
        player_.reset();
        shown_.clear();
        openEditor({{kStart, 1}, {1.5, end}});
        for (const double before : {0.0, 0.02, 0.034, 0.051}) {
            // At once, while the seek is under way, and again from wherever that ended.
            transport_->scrub(end - before);
            for (int again = 0; again < 2; ++again) ASSERT_NO_FATAL_FAILURE(expectItPlays()) << end << " - " << before;
            transport_->pause();
        }
        // Paused in the last frames, and played to the end.
        for (const double length : {0.14, 0.165, 0.18, 0.199, 0.201, 0.5}) {
            transport_->scrub(end - 0.2);
            transport_->toggle();
            playFor(length);
            transport_->pause();
            ASSERT_NO_FATAL_FAILURE(expectThePlayheadsFrame()) << end << " + " << length;
            ASSERT_NO_FATAL_FAILURE(expectItPlays()) << end << " + " << length;
            transport_->pause();
        }
    }
}

}  // namespace
}  // namespace lumivastor::editor
