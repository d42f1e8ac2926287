// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/idle_proposals.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace lumivastor::editor {
namespace {

using Intervals = std::vector<Interval>;

// Loud where given, for so many seconds.
std::shared_ptr<const render::Waveform> soundIn(const Intervals& loud, double seconds) {
    std::vector<std::uint8_t> levels(static_cast<std::size_t>(seconds * render::Waveform::kLevelsPerSecond));
    for (const Interval& each : loud) {
        for (double t = each.start; t < each.end; t += 0.01) levels[static_cast<std::size_t>(t * 100)] = 230;
    }
    return std::make_shared<const render::Waveform>(levels);
}

model::PointerSample moveAt(double t, double x) {
    model::PointerSample sample;
    sample.t = t;
    sample.px = x;
    return sample;
}

TEST(IdleTimes, NeedAStillPictureARestingPointerAndSilence) {
    render::RecordingOverview overview;
    overview.stillStretches = {{2, 30}, {31, 58}};
    overview.systemSound = soundIn({{10, 12}}, 60);
    overview.microphone = soundIn({{40, 45}}, 60);
    model::PointerTrack track;
    track.events = {moveAt(0, 100), moveAt(20, 500), moveAt(20.5, 600)};
    const Intervals idle = idleTimes(overview, track, 60);
    const Intervals expected{{2, 9.85}, {12.15, 20}, {20, 20.5}, {20.5, 30}, {31, 39.85}, {45.15, 58}};
    ASSERT_EQ(idle.size(), expected.size());
    for (std::size_t i = 0; i < idle.size(); ++i) {
        EXPECT_NEAR(idle[i].start, expected[i].start, 0.02) << i;
        EXPECT_NEAR(idle[i].end, expected[i].end, 0.02) << i;
    }
}

TEST(IdleTimes, WithoutSoundTracksThePicturesDecide) {
    render::RecordingOverview overview;
    overview.stillStretches = {{2, 30}};
    EXPECT_EQ(idleTimes(overview, {}, 60), (Intervals{{2, 30}}));
    overview.stillStretches.clear();
    EXPECT_EQ(idleTimes(overview, {}, 60), Intervals{}) << "nothing is known of the pictures";
}

class IdleProposalsTest : public testing::Test {
  protected:
    void propose(double least = 3, double rest = 0.5) { proposals_.propose(idle_, kept_, 60, {least, rest}); }

    Intervals idle_{{1, 5}, {10, 20}, {30, 34}};
    Intervals kept_{{0, 60}};
    IdleProposals proposals_;
};

TEST_F(IdleProposalsTest, AllAreChosenAtFirst) {
    propose();
    EXPECT_EQ(proposals_.rows().size(), 3U);
    EXPECT_EQ(proposals_.chosen(), 3U);
    EXPECT_NEAR(proposals_.saved(), 3.5 + 9.5 + 3.5, 0.1);
    EXPECT_EQ(idleSummary(proposals_), "3 von 3 Stellen gewählt, das Video wird 16.5 s kürzer.");
}

TEST_F(IdleProposalsTest, WhatIsNotChosenStaysSoWhenTimesChange) {
    propose();
    proposals_.choose(1, false);
    propose(4, 1);
    ASSERT_EQ(proposals_.rows().size(), 3U);
    EXPECT_EQ(proposals_.chosen(), 2U);
    EXPECT_FALSE(proposals_.rows()[1].isChosen);
    propose(12, 1);
    EXPECT_TRUE(proposals_.rows().empty());
    propose();
    EXPECT_FALSE(proposals_.rows()[1].isChosen) << "though it was not in the list in between";
    proposals_.choose(1, true);
    propose(4);
    EXPECT_TRUE(proposals_.rows()[1].isChosen);
}

TEST_F(IdleProposalsTest, AddsTheChosenCutsInOrder) {
    propose();
    proposals_.choose(1, false);
    model::ProjectSettings settings;
    settings.cuts = {{7, 8}, {50, 51}};
    const model::ProjectSettings next = proposals_.applied(settings);
    ASSERT_EQ(next.cuts.size(), 4U);
    EXPECT_NEAR(next.cuts[0].start, 1.25, 0.02);
    EXPECT_EQ(next.cuts[1], settings.cuts[0]);
    EXPECT_NEAR(next.cuts[2].end, 33.75, 0.02);
    EXPECT_EQ(next.cuts[3], settings.cuts[1]);
    settings.cuts = next.cuts;
    EXPECT_NE(next, model::ProjectSettings());
    model::ProjectSettings otherwise = next;
    otherwise.cuts.clear();
    EXPECT_EQ(otherwise, model::ProjectSettings()) << "nothing but cuts";
}

TEST_F(IdleProposalsTest, NoneOrAllCanBeChosen) {
    propose();
    proposals_.chooseAll(false);
    EXPECT_EQ(proposals_.saved(), 0);
    EXPECT_EQ(idleSummary(proposals_), "0 von 3 Stellen gewählt.");
    EXPECT_EQ(proposals_.applied({}), model::ProjectSettings());
    proposals_.chooseAll(true);
    EXPECT_EQ(proposals_.chosen(), 3U);
    idle_ = {{1, 5}};
    propose();
    EXPECT_EQ(idleSummary(proposals_), "1 von 1 Stelle gewählt, das Video wird 3.5 s kürzer.");
    idle_.clear();
    propose();
    EXPECT_EQ(idleSummary(proposals_), "Kein Leerlauf gefunden.");
}

TEST(IdleTexts, AreRoundedToTenths) {
    EXPECT_EQ(idleClock(0), "0:00.0");
    EXPECT_EQ(idleClock(12.34), "0:12.3");
    EXPECT_EQ(idleClock(59.97), "1:00.0");
    EXPECT_EQ(idleClock(3723.4), "1:02:03.4");
    EXPECT_EQ(idleLength(4.55), "4.6 s");
    EXPECT_EQ(idleLength(59.96), "1:00 min");
    EXPECT_EQ(idleLength(125), "2:05 min");
}

}  // namespace
}  // namespace lumivastor::editor
