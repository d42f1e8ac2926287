// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/pointer_rests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "support/pointer_events.h"

namespace lumivastor::edit {
namespace {

constexpr double kWidth = 1920;
constexpr double kDuration = 60;

std::vector<model::PointerSample> restsOf(std::vector<model::PointerSample> events,
                                          std::vector<model::CursorChange> changes = {}) {
    model::PointerTrack track;
    track.events = std::move(events);
    track.cursorChanges = std::move(changes);
    track.cursorImages = {{"c0", "cursors/c0.png", 24, 24, 4, 4, 1, true},
                          {"c1", "cursors/c1.png", 24, 24, 4, 4, 1, true},
                          {"hidden", "", 0, 0, 0, 0, 1, false}};
    return pointerRests(track, kDuration, kWidth);
}

// From (100, 100) at 1 s to (900, 100) at 2 s, sixty positions a second, and on to (100, 100) after `stay` seconds.
std::vector<model::PointerSample> thereAndBack(double stay) {
    std::vector<model::PointerSample> events = {event(0, 100, 100)};
    for (int i = 1; i <= 60; ++i) events.push_back(event(1 + i / 60.0, 100 + i * 800 / 60.0, 100));
    for (int i = 1; i <= 60; ++i) events.push_back(event(2 + stay + (i - 1) / 60.0, 900 - i * 800 / 60.0, 100));
    return events;
}

// Whether the pause at (900, 100) is one.
bool pauseCounts(const std::vector<model::PointerSample>& rests) {
    return std::any_of(rests.begin(), rests.end(), [](const auto& each) { return each.px > 850; });
}

TEST(PointerRests, APauseAfterAMoveIsOne) {
    const auto rests = restsOf(thereAndBack(1));
    ASSERT_EQ(rests.size(), 2u);
    EXPECT_NEAR(rests[0].t, 2, 1e-9);
    EXPECT_NEAR(rests[0].px, 900, 1e-9);
    EXPECT_EQ(rests[0].kind, model::PointerKind::move);
    EXPECT_NEAR(rests[1].px, 100, 1e-9) << "the way back ends in a rest, too";
}

TEST(PointerRests, LastFourTenthsOfASecondAtLeast) {
    EXPECT_FALSE(pauseCounts(restsOf(thereAndBack(0.39))));
    EXPECT_TRUE(pauseCounts(restsOf(thereAndBack(0.41))));
}

TEST(PointerRests, WhereTheShapeChangedOnTheWayAShorterPauseIsEnough) {
    const auto moved = thereAndBack(0.3);
    EXPECT_FALSE(pauseCounts(restsOf(moved, {{0, "c0"}})));
    EXPECT_TRUE(pauseCounts(restsOf(moved, {{0, "c0"}, {2.01, "c1"}, {2.4, "c0"}})));
    EXPECT_FALSE(pauseCounts(restsOf(thereAndBack(0.2), {{0, "c0"}, {2.01, "c1"}, {2.3, "c0"}})));
}

TEST(PointerRests, BeforeAnyMoveThereIsNone) {
    EXPECT_TRUE(restsOf({}).empty());
    EXPECT_TRUE(restsOf({event(0, 100, 100)}).empty());
    EXPECT_TRUE(restsOf({event(0, 100, 100), event(30, 150, 100)}).empty()) << "a shift of the hand is no move";
}

TEST(PointerRests, ATremblingHandRests) {
    std::vector<model::PointerSample> events = {event(0, 100, 100)};
    for (int i = 0; i < 600; ++i) events.push_back(event(1 + i / 100.0, 900 + (i % 3) * 3, 500 + (i % 5) * 2));
    const auto rests = restsOf(events);
    ASSERT_EQ(rests.size(), 1u);
    EXPECT_EQ(rests[0].t, 1);
}

TEST(PointerRests, AMoveInSmallStepsIsOneUntilItEnds) {
    // 400 pixels a second.
    std::vector<model::PointerSample> events = {event(0, 100, 100)};
    for (int i = 1; i <= 200; ++i) events.push_back(event(1 + i / 100.0, 100 + i * 4, 100));
    const auto rests = restsOf(events);
    ASSERT_EQ(rests.size(), 1u);
    EXPECT_EQ(rests[0].px, 900);
    EXPECT_NEAR(rests[0].t, 3, 0.05);
}

TEST(PointerRests, AHiddenPointerDoesNotRest) {
    EXPECT_FALSE(pauseCounts(restsOf(thereAndBack(3), {{0, "c0"}, {1.5, "hidden"}, {4.9, "c0"}})));
    EXPECT_TRUE(pauseCounts(restsOf(thereAndBack(3), {{0, "c0"}})));
}

TEST(PointerRests, ScrollingIsNoMoveAndNoEndOfARest) {
    auto events = thereAndBack(1);
    const auto scroll = event(2.2, 0, 0, model::PointerKind::scroll);
    events.insert(std::find_if(events.begin(), events.end(), [](const auto& each) { return each.t > 2.2; }), scroll);
    EXPECT_EQ(restsOf(events), restsOf(thereAndBack(1)));
}

TEST(PointerRests, OneThatBeginsInTheLastSecondBelongsToTheStop) {
    EXPECT_EQ(restsOf({event(0, 100, 100), event(58.9, 900, 100)}).size(), 1u);
    EXPECT_EQ(restsOf({event(0, 100, 100), event(59.1, 900, 100)}).size(), 0u);
}

TEST(PointerRests, AMillionEventsAtOnePlaceTakeOnePass) {
    std::vector<model::PointerSample> events = {event(0, 100, 100)};
    for (int i = 0; i < 1'000'000; ++i) events.push_back(event(1 + i * 1e-9, 900 + (i % 20) * 0.1, 500));
    events.push_back(event(1.1, 100, 100));
    const auto rests = restsOf(events);
    ASSERT_EQ(rests.size(), 1u);
    EXPECT_EQ(rests[0].t, 1.1);
}

}  // namespace
}  // namespace lumivastor::edit
