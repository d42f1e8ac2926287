// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/zoom_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/pointer_events.h"

namespace lumivastor::edit {
namespace {

constexpr double kWidth = 1920;
constexpr double kHeight = 1080;

std::vector<model::ZoomSpec> proposed(const std::vector<model::PointerSample>& clicks,
                                      const ZoomEngine::Parameters& parameters = {}) {
    return ZoomEngine::autoSpecs(clicks, kWidth, kHeight, parameters);
}

ZoomEngine engineOf(const std::vector<model::ZoomSpec>& specs, const ZoomEngine::Parameters& parameters = {}) {
    return {specs, kWidth, kHeight, parameters};
}

void expectKey(const ZoomEngine::Key& key, double t, double x, double y) {
    EXPECT_NEAR(key.t, t, 1e-12);
    EXPECT_NEAR(key.x, x, 1e-9);
    EXPECT_NEAR(key.y, y, 1e-9);
}

TEST(AutoSpecs, OneClickGivesOneZoomAroundIt) {
    const auto specs = proposed({press(5, 480, 270)});
    ASSERT_EQ(specs.size(), 1u);
    EXPECT_DOUBLE_EQ(specs[0].start, 4.45);
    EXPECT_DOUBLE_EQ(specs[0].end, 7.0);
    EXPECT_EQ(specs[0].scale, 1.6);
    ASSERT_EQ(specs[0].focus.size(), 1u);
    EXPECT_DOUBLE_EQ(specs[0].focus[0].t, 5.15);
    EXPECT_EQ(specs[0].focus[0].x, 0.25);
    EXPECT_EQ(specs[0].focus[0].y, 0.25);

    const ZoomEngine engine = engineOf(specs);
    ASSERT_EQ(engine.scaleKeys().size(), 5u);
    expectKey(engine.scaleKeys()[0], 0, 1, 0);
    expectKey(engine.scaleKeys()[1], 4.45, 1, 0);
    expectKey(engine.scaleKeys()[2], 5.15, 1.6, 0);
    expectKey(engine.scaleKeys()[3], 7, 1.6, 0);
    expectKey(engine.scaleKeys()[4], 8, 1, 0);
    ASSERT_EQ(engine.focusKeys().size(), 4u);
    expectKey(engine.focusKeys()[0], 0, 960, 540);
    expectKey(engine.focusKeys()[1], 4.45, 960, 540);
    expectKey(engine.focusKeys()[2], 5.15, 480, 270);
    expectKey(engine.focusKeys()[3], 8, 480, 270);
    ASSERT_EQ(engine.events().size(), 1u);
    EXPECT_DOUBLE_EQ(engine.events()[0].start, 4.45);
    EXPECT_DOUBLE_EQ(engine.events()[0].end, 7);
}

TEST(AutoSpecs, ClicksJoinAGroupUpToTheGapAndChain) {
    // Times that are exact in binary, so that the gap is exactly 3.2 or a little more.
    EXPECT_EQ(proposed({press(0, 10, 10), press(3.2, 10, 10)}).size(), 1u);
    EXPECT_EQ(proposed({press(0, 10, 10), press(3.21, 10, 10)}).size(), 2u);
    std::vector<model::PointerSample> chain;
    for (int i = 0; i < 20; ++i) chain.push_back(press(3 * i, 10, 10));
    const auto specs = proposed(chain);
    ASSERT_EQ(specs.size(), 1u);
    EXPECT_DOUBLE_EQ(specs[0].end, 59);
}

TEST(AutoSpecs, TheNextGroupWaitsUntilTheLastHasZoomedOut) {
    const auto specs = proposed({press(5, 10, 10), press(8.21, 10, 10)});
    ASSERT_EQ(specs.size(), 2u);
    // First group: hold until 7, out until 8; the second click alone would start at 7.66.
    EXPECT_DOUBLE_EQ(specs[1].start, 8.05);
    EXPECT_DOUBLE_EQ(specs[1].focus[0].t, 8.75);
}

TEST(AutoSpecs, AnEarlyClickStartsNoSoonerThanTheFirstMoment) {
    const auto specs = proposed({press(0.1, 10, 10)});
    ASSERT_EQ(specs.size(), 1u);
    EXPECT_DOUBLE_EQ(specs[0].start, 0.05);
}

TEST(AutoSpecs, ACloseClickAddsNothingAFarOneAddsAPan) {
    const double threshold = 0.16 * kWidth;
    EXPECT_EQ(proposed({press(5, 100, 100), press(7, 100 + threshold, 100)})[0].focus.size(), 1u);
    const auto specs = proposed({press(5, 100, 100), press(7, 101 + threshold, 100)});
    ASSERT_EQ(specs[0].focus.size(), 3u);
    EXPECT_DOUBLE_EQ(specs[0].focus[1].t, 7 + 0.15 - 0.8);
    EXPECT_DOUBLE_EQ(specs[0].focus[1].x, 100 / kWidth);
    EXPECT_DOUBLE_EQ(specs[0].focus[2].t, 7.15);
    EXPECT_DOUBLE_EQ(specs[0].focus[2].x, (101 + threshold) / kWidth);
}

TEST(AutoSpecs, DistancesAreMeasuredFromTheAnchorNotFromTheClickBefore) {
    // Each step is close, but the third click is far from the first.
    const auto specs = proposed({press(5, 100, 100), press(6, 300, 100), press(7, 500, 100)});
    ASSERT_EQ(specs[0].focus.size(), 3u);
    EXPECT_DOUBLE_EQ(specs[0].focus[1].x, 100 / kWidth);
    EXPECT_DOUBLE_EQ(specs[0].focus[2].x, 500 / kWidth);
    // Then measured from the new anchor: back at 300 is close again.
    EXPECT_EQ(proposed({press(5, 100, 100), press(7, 500, 100), press(8, 300, 100)})[0].focus.size(), 3u);
}

TEST(AutoSpecs, TheEdgesOfThePictureCountAPixelOutsideDoesNot) {
    EXPECT_EQ(proposed({press(5, kWidth, kHeight)}).size(), 1u);
    EXPECT_EQ(proposed({press(5, 0, 0)}).size(), 1u);
    EXPECT_TRUE(proposed({press(5, kWidth + 1, 10)}).empty());
    EXPECT_TRUE(proposed({press(5, 10, kHeight + 1)}).empty());
    EXPECT_TRUE(proposed({press(5, -1, 10)}).empty());
    EXPECT_TRUE(proposed({press(5, 10, -1)}).empty());
}

TEST(AutoSpecs, OnlyPressesCountAndInTimeOrder) {
    std::vector<model::PointerSample> samples = {press(9, 10, 10), press(5, 20, 20)};
    for (const model::PointerKind kind :
         {model::PointerKind::move, model::PointerKind::up, model::PointerKind::drag, model::PointerKind::scroll}) {
        samples.push_back(press(20, 10, 10));
        samples.back().kind = kind;
    }
    const auto specs = proposed(samples);
    ASSERT_EQ(specs.size(), 2u);
    EXPECT_DOUBLE_EQ(specs[0].focus[0].x, 20 / kWidth);
    EXPECT_DOUBLE_EQ(specs[1].focus[0].x, 10 / kWidth);
}

TEST(AutoSpecs, NoClicksOrNoPictureGiveNoZooms) {
    EXPECT_TRUE(proposed({}).empty());
    const std::vector<model::PointerSample> clicks = {press(5, 0, 0)};
    EXPECT_TRUE(ZoomEngine::autoSpecs(clicks, 0, kHeight, {}).empty());
    EXPECT_TRUE(ZoomEngine::autoSpecs(clicks, kWidth, 0, {}).empty());
}

TEST(ZoomEngine, WithoutZoomsTheWholePictureIsShown) {
    const ZoomEngine engine = engineOf({});
    for (const double t : {-5.0, 0.0, 1.0, 1e6}) {
        EXPECT_EQ(engine.camera(t).scale, 1);
        EXPECT_EQ(engine.camera(t).focusX, 960);
        EXPECT_EQ(engine.camera(t).focusY, 540);
    }
}

TEST(ZoomEngine, ZoomsCloserThanTheZoomOutDoNotZoomOutBetween) {
    const ZoomEngine engine = engineOf({{2, 4, 2, {{2.7, 0.2, 0.2}}}, {4.5, 6, 1.8, {{5.2, 0.8, 0.8}}}});
    for (double t = 2.7; t <= 6; t += 0.01) EXPECT_GE(engine.camera(t).scale, 1.8 - 1e-9) << t;
    EXPECT_DOUBLE_EQ(engine.events()[0].end, 4);
    EXPECT_EQ(engine.camera(7).scale, 1);
}

TEST(ZoomEngine, AnOverlappedZoomEndsShortlyBeforeTheNextBegins) {
    const ZoomEngine engine = engineOf({{2, 9, 2, {{2.7, 0.2, 0.2}}}, {5, 6, 1.8, {{5.7, 0.8, 0.8}}}});
    EXPECT_DOUBLE_EQ(engine.events()[0].end, 4.95);
    EXPECT_DOUBLE_EQ(engine.events()[1].start, 5);
    EXPECT_EQ(engine.camera(4.97).scale, 2);
}

TEST(ZoomEngine, AZoomThatEndsBeforeItIsInIsHeldUntilItIs) {
    const ZoomEngine engine = engineOf({{2, 2.1, 2, {{2.7, 0.2, 0.2}}}});
    EXPECT_DOUBLE_EQ(engine.events()[0].end, 2.7);
    EXPECT_EQ(engine.camera(2.7).scale, 2);
}

TEST(ZoomEngine, AScaleBelowOneIsRaisedToOne) {
    const ZoomEngine engine = engineOf({{2, 4, 0.3, {{2.7, 0.2, 0.2}}}});
    for (double t = 0; t < 6; t += 0.05) EXPECT_EQ(engine.camera(t).scale, 1);
}

TEST(ZoomEngine, FocusKeysAfterTheZoomOutAreLeftOutButOneAlwaysStays) {
    const ZoomEngine cut = engineOf({{2, 4, 2, {{5, 0.9, 0.9}, {2.7, 0.2, 0.2}}}});
    EXPECT_DOUBLE_EQ(cut.focusKeys().back().x, 0.2 * kWidth);
    const ZoomEngine late = engineOf({{2, 4, 2, {{9, 0.9, 0.9}, {8, 0.5, 0.1}}}});
    EXPECT_DOUBLE_EQ(late.focusKeys()[2].t, 4);
    EXPECT_DOUBLE_EQ(late.focusKeys()[2].y, 0.1 * kHeight);
}

TEST(ZoomEngine, TheFocusHoldsUntilTheZoomBeginsAndWhileItGoesOut) {
    const ZoomEngine engine = engineOf({{2, 4, 2, {{2.7, 0.2, 0.2}}}, {10, 12, 2, {{10.7, 0.8, 0.6}}}});
    for (double t = 4; t <= 10; t += 0.1) {
        EXPECT_NEAR(engine.camera(t).focusX, 0.2 * kWidth, 1e-9);
        EXPECT_NEAR(engine.camera(t).focusY, 0.2 * kHeight, 1e-9);
    }
    EXPECT_NEAR(engine.camera(13).focusX, 0.8 * kWidth, 1e-9);
}

TEST(ZoomEngine, KeysAreMetExactlyAndMidwayIsTheMidpoint) {
    const ZoomEngine engine = engineOf({{2, 4, 2, {{2.5, 0.25, 0.75}}}});
    for (const auto& key : engine.scaleKeys()) EXPECT_EQ(engine.camera(key.t).scale, key.x);
    for (const auto& key : engine.focusKeys()) {
        EXPECT_EQ(engine.camera(key.t).focusX, key.x);
        EXPECT_EQ(engine.camera(key.t).focusY, key.y);
    }
    for (std::size_t i = 1; i < engine.scaleKeys().size(); ++i) {
        const auto& a = engine.scaleKeys()[i - 1];
        const auto& b = engine.scaleKeys()[i];
        EXPECT_NEAR(engine.camera((a.t + b.t) / 2).scale, (a.x + b.x) / 2, 1e-9);
    }
}

TEST(ZoomEngine, MovesStartAndEndWithoutSpeed) {
    const ZoomEngine engine = engineOf({{2, 4, 3, {{2.7, 0.2, 0.2}}}});
    constexpr double kTiny = 1e-4;
    for (const auto& key : engine.scaleKeys()) {
        EXPECT_NEAR(engine.camera(key.t + kTiny).scale, key.x, 1e-9);
        EXPECT_NEAR(engine.camera(key.t - kTiny).scale, key.x, 1e-9);
    }
}

TEST(ZoomEngineDeathTest, AZoomWithoutFocusIsAMistakeOfTheCaller) {
    EXPECT_DEATH(engineOf({{2, 4, 2, {}}}), "a zoom has a focus key");
}

// Properties over random input.

std::vector<model::PointerSample> randomClicks(std::mt19937& random, int count) {
    std::uniform_real_distribution<double> time(-1, 120);
    std::uniform_real_distribution<double> x(-50, kWidth + 50);
    std::uniform_real_distribution<double> y(-50, kHeight + 50);
    std::vector<model::PointerSample> clicks;
    for (int i = 0; i < count; ++i) clicks.push_back(press(time(random), x(random), y(random)));
    return clicks;
}

void expectIncreasing(const std::vector<ZoomEngine::Key>& keys) {
    for (std::size_t i = 1; i < keys.size(); ++i) {
        // A rounding error below the hundredth is the doubles' own.
        ASSERT_GE(keys[i].t - keys[i - 1].t, 0.01 - 1e-9);
        ASSERT_GT(keys[i].t, keys[i - 1].t);
    }
}

// Between two keys the curve never leaves the range of the two, so no jump is larger than the keys ask for.
void expectBetweenItsKeys(const ZoomEngine& engine) {
    const auto& keys = engine.focusKeys();
    std::size_t next = 0;
    for (double t = 0; t < 140; t += 1.0 / 120) {
        const auto camera = engine.camera(t);
        ASSERT_GE(camera.scale, 1 - 1e-12);
        ASSERT_LE(camera.scale, 3 + 1e-12);
        while (next < keys.size() && keys[next].t <= t) ++next;
        const auto& from = keys[next == 0 ? 0 : next - 1];
        const auto& to = keys[std::min(next, keys.size() - 1)];
        ASSERT_GE(camera.focusX, std::min(from.x, to.x) - 1e-9) << t;
        ASSERT_LE(camera.focusX, std::max(from.x, to.x) + 1e-9) << t;
        ASSERT_GE(camera.focusY, std::min(from.y, to.y) - 1e-9) << t;
        ASSERT_LE(camera.focusY, std::max(from.y, to.y) + 1e-9) << t;
    }
}

TEST(ZoomEngineProperty, ProposedZoomsNeverTouchAndKeysIncrease) {
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        const auto clicks = randomClicks(random, round % 40);
        ZoomEngine::Parameters parameters;
        parameters.scale = 1 + (round % 20) * 0.1;
        const double pace = round % 3 == 0 ? 0.75 : round % 3 == 1 ? 1.0 : 1.35;
        parameters.zoomInDuration *= pace;
        parameters.zoomOutDuration *= pace;
        parameters.panDuration *= pace;
        const auto specs = proposed(clicks, parameters);
        for (std::size_t i = 1; i < specs.size(); ++i) {
            ASSERT_GE(specs[i].start, specs[i - 1].end + parameters.zoomOutDuration + 0.05 - 1e-9);
        }
        const ZoomEngine engine = engineOf(specs, parameters);
        expectIncreasing(engine.scaleKeys());
        expectIncreasing(engine.focusKeys());
        expectBetweenItsKeys(engine);
        ASSERT_EQ(engine.events().size(), specs.size());
    }
}

TEST(ZoomEngineProperty, HandMadeZoomsOfAnyShapeKeepTheKeysIncreasing) {
    std::mt19937 random(12);
    std::uniform_real_distribution<double> time(-5, 60);
    std::uniform_real_distribution<double> fraction(-0.2, 1.2);
    std::uniform_real_distribution<double> scale(0.2, 3);
    for (int round = 0; round < 300; ++round) {
        std::vector<model::ZoomSpec> specs(static_cast<std::size_t>(round % 12));
        for (auto& spec : specs) {
            spec.start = time(random);
            spec.end = time(random);
            spec.scale = scale(random);
            spec.focus.resize(1 + random() % 4);
            for (auto& key : spec.focus) key = {time(random), fraction(random), fraction(random)};
        }
        const ZoomEngine engine = engineOf(specs);
        expectIncreasing(engine.scaleKeys());
        expectIncreasing(engine.focusKeys());
        expectBetweenItsKeys(engine);
        EXPECT_EQ(engine.scaleKeys().back().x, 1);
        for (std::size_t i = 1; i < engine.events().size(); ++i) {
            EXPECT_LE(engine.events()[i - 1].start, engine.events()[i].start);
        }
    }
}

}  // namespace
}  // namespace lumivastor::edit
