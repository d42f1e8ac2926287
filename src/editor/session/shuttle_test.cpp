// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/shuttle.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "support/manual_main_loop.h"

namespace lumivastor::editor {
namespace {

TEST(ShuttleRates, EachPressInItsDirectionDoublesUpToEight) {
    std::vector<int> rates = {0};
    for (int i = 0; i < 6; ++i) rates.push_back(shuttleRate(rates.back(), true));
    EXPECT_EQ(rates, (std::vector<int>{0, 1, 2, 4, 8, 8, 8}));
    rates = {8};
    for (int i = 0; i < 6; ++i) rates.push_back(shuttleRate(rates.back(), false));
    EXPECT_EQ(rates, (std::vector<int>{8, -1, -2, -4, -8, -8, -8}));
    EXPECT_EQ(shuttleRate(-8, true), 1);
}

TEST(ShuttledPlaces, JumpOverWhatIsNotPlayed) {
    const std::vector<Interval> played = {{1, 3}, {5, 6}};
    EXPECT_EQ(shuttled(1, 0.5, played), 1.5);
    EXPECT_EQ(shuttled(2.5, 1, played), 5.5);
    EXPECT_EQ(shuttled(4, 0.25, played), 5.25) << "from within a cut";
    EXPECT_EQ(shuttled(0, 0.25, played), 1.25);
    EXPECT_EQ(shuttled(5.5, 2, played), 6) << "the end";
    EXPECT_EQ(shuttled(6, 0.1, played), std::nullopt);
    EXPECT_EQ(shuttled(2, -0.5, played), 1.5);
    EXPECT_EQ(shuttled(5.5, -1, played), 2.5);
    EXPECT_EQ(shuttled(4, -0.25, played), 2.75);
    EXPECT_EQ(shuttled(9, -0.25, played), 5.75);
    EXPECT_EQ(shuttled(1.5, -2, played), 1);
    EXPECT_EQ(shuttled(1, -0.1, played), std::nullopt);
    EXPECT_EQ(shuttled(1, 1, {}), std::nullopt);
}

TEST(ShuttledPlaces, ThereAndBackIsWhereOneWas) {
    const std::vector<Interval> played = {{1, 3}, {5, 6}, {8, 10}};
    for (double at = 1.1; at < 2.9; at += 0.1) {
        for (double way = 0.05; way < 2; way += 0.1) {
            const auto there = shuttled(at, way, played);
            ASSERT_TRUE(there);
            EXPECT_NEAR(*shuttled(*there, -way, played), at, 1e-9) << at << " " << way;
        }
    }
}

class ShuttleTest : public testing::Test {
  protected:
    // Seeks end at once.
    std::vector<double> seeks_;
    bool isPlaying_ = false;
    int changes_ = 0;
    double heldUp_ = 0;  // seconds in which the main loop ran nothing
    ManualMainLoop loop_;
    Transport transport_{{[this] { isPlaying_ = true; },
                          [this] {
                              isPlaying_ = false;
                              return transport_.playhead();
                          },
                          [this](double seconds, const std::function<void()>& ended) {
                              seeks_.push_back(seconds);
                              ended();
                          }},
                         {10, 30, [] {}}};
    Shuttle shuttle_{transport_,
                     loop_,
                     {[this] { return loop_.now() + heldUp_; },
                      [] {
                          return std::vector<Interval>{{0, 4}, {6, 10}};
                      },
                      [this] { ++changes_; }}};

    void pass(double seconds) {
        for (int i = 0; i < static_cast<int>(seconds * 60 + 0.5); ++i) loop_.advance(1.0 / 60);
    }
};

TEST_F(ShuttleTest, TheFirstPressForwardIsThePlayersPlaying) {
    shuttle_.press(true);
    EXPECT_TRUE(isPlaying_);
    EXPECT_EQ(shuttle_.rate(), 1);
    EXPECT_FALSE(shuttle_.isRunning());
    EXPECT_EQ(loop_.timers(), 0u);
    shuttle_.stop();
    EXPECT_FALSE(isPlaying_);
    EXPECT_EQ(shuttle_.rate(), 0);
}

TEST_F(ShuttleTest, FurtherPressesAreFasterAndJumpOverTheCut) {
    transport_.scrub(3);
    shuttle_.press(true);
    shuttle_.press(true);
    EXPECT_FALSE(isPlaying_);
    EXPECT_EQ(shuttle_.rate(), 2);
    pass(0.4);
    EXPECT_NEAR(transport_.playhead(), 3.8, 0.07);
    shuttle_.press(true);
    EXPECT_EQ(shuttle_.rate(), 4);
    const double before = transport_.playhead();
    pass(0.5);
    EXPECT_NEAR(transport_.playhead(), before + 2 + 2, 0.2);
}

TEST_F(ShuttleTest, BackwardItStopsAtTheStart) {
    transport_.scrub(0.5);
    shuttle_.press(false);
    EXPECT_EQ(shuttle_.rate(), -1);
    pass(0.25);
    EXPECT_NEAR(transport_.playhead(), 0.25, 0.05);
    pass(1);
    EXPECT_EQ(transport_.playhead(), 0);
    EXPECT_EQ(shuttle_.rate(), 0);
    EXPECT_EQ(loop_.timers(), 0u);
    EXPECT_EQ(changes_, 2);
}

TEST_F(ShuttleTest, AgainstItsDirectionItTurnsAround) {
    transport_.scrub(3);
    shuttle_.press(false);
    shuttle_.press(false);
    EXPECT_EQ(shuttle_.rate(), -2);
    shuttle_.press(true);
    EXPECT_EQ(shuttle_.rate(), 1);
    EXPECT_TRUE(isPlaying_);
    shuttle_.press(false);
    EXPECT_EQ(shuttle_.rate(), -1);
    EXPECT_FALSE(isPlaying_);
}

TEST_F(ShuttleTest, WhateverElseMovesThePlayheadEndsIt) {
    transport_.scrub(3);
    shuttle_.press(false);
    pass(0.1);
    transport_.jump(8);
    pass(0.5);
    EXPECT_EQ(transport_.playhead(), 8);
    EXPECT_EQ(shuttle_.rate(), 0);
    shuttle_.press(false);
    transport_.toggle();
    pass(0.5);
    EXPECT_TRUE(isPlaying_);
    EXPECT_EQ(shuttle_.rate(), 1);
    EXPECT_EQ(loop_.timers(), 0u);
}

TEST_F(ShuttleTest, AnInterruptedMainLoopDoesNotMakeItLeap) {
    transport_.scrub(9);
    shuttle_.press(false);
    heldUp_ = 3;
    loop_.advance(0.04);
    EXPECT_NEAR(transport_.playhead(), 8.8, 1e-9);
}

}  // namespace
}  // namespace lumivastor::editor
