// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/transport.h"

#include <gtest/gtest.h>

#include <vector>

#include "editor/session/frame_time.h"

namespace lumivastor::editor {
namespace {

// A player that records its calls and seeks only when the test says so.
class TransportTest : public testing::Test {
  protected:
    static constexpr double kDuration = 10;
    static constexpr std::int64_t kFps = 60;

    void endSeek() {
        const auto end = std::move(endings_.back());
        endings_.pop_back();
        end();
    }

    std::vector<double> seeks_;
    std::vector<std::function<void()>> endings_;
    int plays_ = 0;
    int pauses_ = 0;
    int changes_ = 0;
    double stands_ = 0;  // where the player says that it stands when it pauses
    Transport transport_{{[this] { ++plays_; },
                          [this] {
                              ++pauses_;
                              return stands_;
                          },
                          [this](double seconds, std::function<void()> ended) {
                              seeks_.push_back(seconds);
                              endings_.push_back(std::move(ended));
                          }},
                         {kDuration, kFps, [this] { ++changes_; }}};
};

TEST_F(TransportTest, TheButtonPlaysAndPauses) {
    transport_.toggle();
    EXPECT_TRUE(transport_.isPlaying());
    EXPECT_EQ(plays_, 1);
    EXPECT_TRUE(seeks_.empty());
    transport_.toggle();
    EXPECT_FALSE(transport_.isPlaying());
    EXPECT_EQ(pauses_, 1);
    EXPECT_EQ(changes_, 2);
}

TEST_F(TransportTest, PlayAtTheVeryEndBeginsAtTheEffectiveStart) {
    transport_.setPlayed({2.5, 10}, 10);
    transport_.scrub(9.951);
    endSeek();
    transport_.toggle();
    EXPECT_EQ(seeks_.back(), 2.5);
    EXPECT_EQ(transport_.playhead(), 2.5);
    EXPECT_TRUE(transport_.isPlaying());
}

TEST_F(TransportTest, PlayALittleBeforeTheEndGoesOnFromThere) {
    transport_.scrub(9.94);
    endSeek();
    transport_.toggle();
    EXPECT_EQ(seeks_, (std::vector<double>{9.94}));
}

TEST_F(TransportTest, PlayBehindAllThatIsLeftBeginsAnew) {
    transport_.setPlayed({1, 8}, 6);
    transport_.scrub(7);
    endSeek();
    transport_.toggle();
    EXPECT_EQ(seeks_.back(), 1);
}

TEST_F(TransportTest, SteppingStaysInsideTheRecording) {
    transport_.step(-frameLength(kFps));
    EXPECT_EQ(transport_.playhead(), 0);
    transport_.step(-1);
    EXPECT_EQ(transport_.playhead(), 0);
    transport_.scrub(kDuration);
    transport_.step(frameLength(kFps));
    EXPECT_EQ(transport_.playhead(), kDuration);
    transport_.step(1);
    EXPECT_EQ(transport_.playhead(), kDuration);
}

TEST_F(TransportTest, SteppingGoesFromFrameToFrameAndStopsPlaying) {
    transport_.toggle();
    transport_.timePassed(2.99);
    stands_ = 3;
    transport_.step(frameLength(kFps));
    EXPECT_FALSE(transport_.isPlaying());
    EXPECT_DOUBLE_EQ(transport_.playhead(), 181.0 / 60);
    transport_.step(1);
    EXPECT_DOUBLE_EQ(transport_.playhead(), 241.0 / 60);
    transport_.step(-frameLength(kFps));
    EXPECT_DOUBLE_EQ(transport_.playhead(), 240.0 / 60);
}

TEST_F(TransportTest, ScrubbingPausesAndSeeksFarLessOftenThanItMoves) {
    transport_.toggle();
    for (int i = 0; i < 300; ++i) transport_.scrub(i * 0.01);
    EXPECT_EQ(pauses_, 1);
    EXPECT_EQ(seeks_.size(), 1u);
    endSeek();
    EXPECT_EQ(seeks_, (std::vector<double>{0, 2.99}));
    EXPECT_EQ(transport_.playhead(), 2.99);
}

TEST_F(TransportTest, AJumpKeepsPlaying) {
    transport_.toggle();
    transport_.jump(4);
    EXPECT_TRUE(transport_.isPlaying());
    transport_.timePassed(0.2);  // from before the seek
    EXPECT_EQ(transport_.playhead(), 4);
    endSeek();
    transport_.timePassed(4.1);
    EXPECT_EQ(transport_.playhead(), 4.1);
    transport_.jump(99);
    EXPECT_EQ(transport_.playhead(), kDuration);
}

TEST_F(TransportTest, TimesThatArriveAfterPausingDoNotMoveThePlayhead) {
    transport_.toggle();
    transport_.timePassed(1);
    stands_ = 1;
    transport_.pause();
    transport_.timePassed(1.5);
    EXPECT_EQ(transport_.playhead(), 1);
}

TEST_F(TransportTest, PausingTakesThePlayheadToTheFrameThatStands) {
    transport_.toggle();
    transport_.timePassed(1.01);
    stands_ = 62.0 / 60;
    changes_ = 0;
    transport_.pause();
    EXPECT_EQ(transport_.playhead(), 62.0 / 60);
    EXPECT_EQ(changes_, 1);
}

TEST_F(TransportTest, PausingBeforeAJumpHadItsTurnStaysWhereTheJumpGoes) {
    transport_.toggle();
    transport_.jump(3);
    transport_.jump(7);
    stands_ = 3.1;
    transport_.pause();
    EXPECT_EQ(transport_.playhead(), 7);
    endSeek();
    EXPECT_EQ(seeks_.back(), 7);
}

TEST_F(TransportTest, TheEndStopsPlayingOnTheLastFrame) {
    transport_.toggle();
    transport_.timePassed(9.9);
    transport_.ended(599.0 / 60);
    EXPECT_FALSE(transport_.isPlaying());
    EXPECT_EQ(pauses_, 0);
    EXPECT_EQ(transport_.playhead(), 599.0 / 60);
}

TEST_F(TransportTest, PlayAfterTheEndBeginsAgainHoweverLongTheLastFrameWas) {
    transport_.setPlayed({2, 8}, 7);
    transport_.toggle();
    transport_.ended(6.8);
    transport_.setPlayed({2, 8}, 7);  // another setting was changed
    transport_.toggle();
    EXPECT_EQ(seeks_, (std::vector<double>{2}));
    EXPECT_EQ(transport_.playhead(), 2);
    endSeek();
    // Stepping back from the end, or playing more of the film, leaves something to be played.
    transport_.ended(6.8);
    transport_.step(-1);
    endSeek();
    transport_.toggle();
    EXPECT_EQ(seeks_.back(), 5.8);
    transport_.ended(6.8);
    transport_.setPlayed({2, 8}, 8);
    transport_.toggle();
    EXPECT_EQ(seeks_.back(), 5.8);
    EXPECT_EQ(transport_.playhead(), 6.8);
}

TEST_F(TransportTest, PlayWhileAScrubIsUnderWayPlaysFromWhereItEnds) {
    transport_.scrub(9.99);
    transport_.scrub(4);
    transport_.toggle();
    EXPECT_EQ(seeks_, (std::vector<double>{9.99, 4})) << "from 9.99 there would be nothing left to play";
    endings_.front()();  // the first is overtaken
    transport_.timePassed(9.99);
    EXPECT_EQ(transport_.playhead(), 4);
    endings_.back()();
    transport_.timePassed(4.1);
    EXPECT_EQ(transport_.playhead(), 4.1);
}

TEST_F(TransportTest, PlayAtTheEndWhileASeekToItIsUnderWayBeginsAgain) {
    transport_.scrub(10);
    transport_.toggle();
    EXPECT_EQ(seeks_, (std::vector<double>{10, 0}));
    EXPECT_TRUE(transport_.isPlaying());
}

TEST_F(TransportTest, TheEndBeforeAJumpHadItsTurnPlaysOnFromTheJump) {
    transport_.toggle();
    transport_.jump(9.99);
    transport_.jump(3);
    transport_.ended(599.0 / 60);
    EXPECT_TRUE(transport_.isPlaying());
    EXPECT_EQ(plays_, 2);
    EXPECT_EQ(seeks_.back(), 3);
    EXPECT_EQ(transport_.playhead(), 3);
}

}  // namespace
}  // namespace lumivastor::editor
