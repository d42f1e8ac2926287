// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/cursor_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "support/pointer_events.h"

namespace lumivastor::edit {
namespace {

// The construction as it is defined, in the plainest words: the reference for the real one.
struct PlainPath {
    std::vector<double> xs, ys;

    PlainPath(const std::vector<model::PointerSample>& events, double duration, double smoothing) {
        std::vector<model::PointerSample> kept;
        for (const auto& each : events) {
            if (each.kind != model::PointerKind::scroll) kept.push_back(each);
        }
        if (kept.empty() || duration <= 0) return;
        const int count = static_cast<int>(duration * 120) + 1;
        std::size_t at = 0;
        for (int i = 0; i < count; ++i) {
            const double t = i * (1.0 / 120);
            while (at + 1 < kept.size() && kept[at + 1].t <= t) ++at;
            const auto& e0 = kept[at];
            const auto& e1 = at + 1 < kept.size() ? kept[at + 1] : e0;
            double f = 0;
            if (e1.t - e0.t > 0 && (t - e0.t) / (e1.t - e0.t) >= 0) f = std::min((t - e0.t) / (e1.t - e0.t), 1.0);
            xs.push_back(e0.px + (e1.px - e0.px) * f);
            ys.push_back(e0.py + (e1.py - e0.py) * f);
        }
        if (smoothing > 0.01) {
            const double alpha = (1.0 / 120) / (smoothing * 0.16 + 1.0 / 120);
            smooth(xs, alpha);
            smooth(ys, alpha);
        }
        for (const auto& each : events) {
            if (each.kind != model::PointerKind::down) continue;
            const int k = std::clamp(static_cast<int>(each.t * 120), 0, count - 1);
            const double dx = each.px - xs[static_cast<std::size_t>(k)];
            const double dy = each.py - ys[static_cast<std::size_t>(k)];
            if (std::abs(dx) <= 0.01 && std::abs(dy) <= 0.01) continue;
            for (int j = -42; j <= 42; ++j) {
                if (k + j < 0 || k + j >= count) continue;
                const double w = (std::cos(std::numbers::pi * j / 42) + 1) / 2;
                const auto i = static_cast<std::size_t>(k) + static_cast<std::size_t>(j);  // wraps back for j < 0
                xs[i] += dx * w;
                ys[i] += dy * w;
            }
        }
    }

    static void smooth(std::vector<double>& values, double alpha) {
        if (values.size() < 2) return;
        double v = values[0];
        for (std::size_t i = 1; i < values.size(); ++i) values[i] = v = v + alpha * (values[i] - v);
        v = values.back();
        for (std::size_t i = values.size() - 1; i-- > 0;) values[i] = v = v + alpha * (values[i] - v);
    }
};

TEST(CursorEngine, TenSecondsGiveTwelveHundredAndOnePoints) {
    const CursorEngine engine(std::vector{event(0, 1, 2)}, 10, 0.88);
    ASSERT_EQ(engine.times().size(), 1201u);
    ASSERT_EQ(engine.xs().size(), 1201u);
    ASSERT_EQ(engine.ys().size(), 1201u);
    EXPECT_EQ(engine.times().back(), 10.0);
    EXPECT_EQ(engine.times().front(), 0.0);
}

TEST(CursorEngine, WithoutEventsOrDurationThereIsNoPath) {
    const std::vector scrolls = {event(0, 1, 2, model::PointerKind::scroll),
                                 event(1, 1, 2, model::PointerKind::scroll)};
    EXPECT_TRUE(CursorEngine({}, 10, 0.88).times().empty());
    EXPECT_TRUE(CursorEngine(scrolls, 10, 0.88).times().empty());
    EXPECT_TRUE(CursorEngine(std::vector{event(0, 1, 2)}, 0, 0.88).times().empty());
    EXPECT_TRUE(CursorEngine(std::vector{event(0, 1, 2)}, -3, 0.88).times().empty());
    EXPECT_EQ(CursorEngine({}, 10, 0.88).position(1), std::nullopt);
    EXPECT_EQ(CursorEngine().position(0), std::nullopt);
}

TEST(CursorEngine, AShorterPathThanTwoPointsHasNoPosition) {
    const CursorEngine engine(std::vector{event(0, 1, 2)}, 0.001, 0.88);
    EXPECT_EQ(engine.times().size(), 1u);
    EXPECT_EQ(engine.position(0), std::nullopt);
}

TEST(CursorEngine, WithoutSmoothingThePathIsTheStraightConnection) {
    const std::vector events = {event(0, 0, 100), event(1, 120, 100, model::PointerKind::down), event(2, 120, 220)};
    const CursorEngine engine(events, 2, 0);
    for (double t = 0; t <= 2; t += 1.0 / 480) {
        const auto position = engine.position(t);
        ASSERT_TRUE(position);
        EXPECT_NEAR(position->x, std::min(t, 1.0) * 120, 1e-9);
        EXPECT_NEAR(position->y, 100 + std::max(t - 1, 0.0) * 120, 1e-9);
    }
}

TEST(CursorEngine, ScrollsDoNotMoveThePath) {
    const std::vector with = {event(0, 0, 0), event(0.5, 999, 999, model::PointerKind::scroll), event(1, 120, 0)};
    const std::vector without = {event(0, 0, 0), event(1, 120, 0)};
    EXPECT_EQ(CursorEngine(with, 2, 0.88), CursorEngine(without, 2, 0.88));
}

TEST(CursorEngine, BeforeTheFirstEventAndAfterTheLastThePathRests) {
    const CursorEngine engine(std::vector{event(1, 10, 20), event(2, 30, 40)}, 4, 0);
    EXPECT_EQ(*engine.position(0), (Point{10, 20}));
    EXPECT_EQ(*engine.position(0.99), (Point{10, 20}));
    EXPECT_EQ(*engine.position(3.5), (Point{30, 40}));
}

TEST(CursorEngine, TimesOutsideGiveTheFirstAndTheLastPoint) {
    const CursorEngine engine(std::vector{event(0, 10, 20), event(2, 30, 40)}, 2, 0.5);
    EXPECT_EQ(*engine.position(-1), (Point{engine.xs().front(), engine.ys().front()}));
    EXPECT_EQ(*engine.position(7), (Point{engine.xs().back(), engine.ys().back()}));
    EXPECT_EQ(*engine.position(-1e300), (Point{engine.xs().front(), engine.ys().front()}));
    EXPECT_EQ(*engine.position(1e300), (Point{engine.xs().back(), engine.ys().back()}));
}

TEST(CursorEngine, OfTwoEventsAtOneTimeTheFirstCountsBeforeAndTheSecondAfter) {
    const CursorEngine engine(std::vector{event(1, 10, 10), event(1, 50, 50)}, 2, 0);
    EXPECT_EQ(*engine.position(0.5), (Point{10, 10}));
    EXPECT_EQ(*engine.position(1.5), (Point{50, 50}));
}

TEST(CursorEngine, ThePathPassesThroughTheClick) {
    const std::vector events = {event(0, 0, 0), event(1, 400, 300), event(1.0, 400, 300, model::PointerKind::down),
                                event(1.1, 800, 100)};
    const CursorEngine engine(events, 3, 1);
    EXPECT_NEAR(engine.xs()[120], 400, 1e-9);
    EXPECT_NEAR(engine.ys()[120], 300, 1e-9);
}

TEST(CursorEngine, AClickOnThePathChangesNothing) {
    std::vector events = {event(0, 500, 500), event(4, 500, 500)};
    const CursorEngine without(events, 4, 0.88);
    events.insert(events.begin() + 1, event(2, 500.0, 500.0, model::PointerKind::down));
    EXPECT_EQ(CursorEngine(events, 4, 0.88), without);
    // Nearly on it, in both axes. The press itself is part of the connection that is smoothed, so this one is placed
    // where no smoothing happens.
    events[1].px = 500.01;
    const CursorEngine raw(events, 4, 0);
    EXPECT_EQ(raw.xs()[240], 500.01);
}

TEST(CursorEngine, AClickAtTheBeginningReachesForwardOnly) {
    std::vector events = {event(0, 100, 100, model::PointerKind::down), event(0.0, 0, 0), event(3, 0, 0)};
    const CursorEngine corrected(events, 3, 0.88);
    events[0].kind = model::PointerKind::up;
    const CursorEngine plain(events, 3, 0.88);
    for (std::size_t i = 0; i < plain.xs().size(); ++i) {
        if (i < 42) {
            EXPECT_GT(corrected.xs()[i], plain.xs()[i]) << i;
        } else {
            EXPECT_NEAR(corrected.xs()[i], plain.xs()[i], 1e-12) << i;
        }
    }
    EXPECT_NEAR(corrected.xs()[0], 100, 1e-9);
}

TEST(CursorEngine, AClickAtTheEndCorrectsTheLastFortyThreePoints) {
    std::vector events = {event(0, 0, 0), event(2.5, 0, 0), event(3, 100, 100, model::PointerKind::down)};
    const CursorEngine corrected(events, 3, 0.88);
    events[2].kind = model::PointerKind::up;
    const CursorEngine plain(events, 3, 0.88);
    const std::size_t count = plain.xs().size();
    ASSERT_EQ(count, 361u);
    EXPECT_NEAR(corrected.xs()[360], 100, 1e-9);
    EXPECT_GT(corrected.xs()[count - 42], plain.xs()[count - 42]);
    EXPECT_NEAR(corrected.xs()[count - 43], plain.xs()[count - 43], 1e-12);
    for (std::size_t i = 0; i + 43 < count; ++i) EXPECT_EQ(corrected.xs()[i], plain.xs()[i]);
}

TEST(CursorEngine, PressesBeforeAndAfterTheRecordingCorrectItsEnds) {
    const std::vector events = {event(-2, 70, 70, model::PointerKind::down), event(-1, 0, 0),
                                event(9, 50, 50, model::PointerKind::down)};
    const CursorEngine engine(events, 3, 0.88);
    EXPECT_NEAR(engine.xs().front(), 70, 1e-9);
    EXPECT_NEAR(engine.xs().back(), 50, 1e-9);
}

TEST(CursorEngine, SmoothingNeitherTrailsNorLeads) {
    // A step, recorded: the smoothed path crosses its middle in the middle.
    std::vector<model::PointerSample> events;
    for (int i = 0; i <= 400; ++i) events.push_back(event(i / 100.0, i < 200 ? 0 : 100, 0));
    const CursorEngine engine(events, 4, 0.88);
    EXPECT_NEAR(engine.position(1.995)->x, 50, 1.0);
    for (double d = 0; d < 1; d += 0.05) {
        EXPECT_NEAR(engine.position(1.995 - d)->x + engine.position(1.995 + d)->x, 100, 0.5) << d;
    }
}

TEST(CursorEngineProperty, EqualsThePlainConstructionBitForBit) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> position(-100, 2000);
    for (int round = 0; round < 100; ++round) {
        std::vector<model::PointerSample> events;
        double t = -0.5;
        const int count = static_cast<int>(random() % 300);
        for (int i = 0; i < count; ++i) {
            // Repeated times are part of real recordings.
            if (random() % 4 != 0) t += static_cast<double>(random() % 1000) / 10'000;
            events.push_back(
                event(t, position(random), position(random), static_cast<model::PointerKind>(random() % 5)));
        }
        const double duration = static_cast<double>(random() % 2000) / 100;
        const double smoothing = static_cast<double>(random() % 101) / 100;
        const CursorEngine engine(events, duration, smoothing);
        const PlainPath plain(events, duration, smoothing);
        ASSERT_EQ(engine.xs(), plain.xs);
        ASSERT_EQ(engine.ys(), plain.ys);
        ASSERT_EQ(engine.times().size(), plain.xs.size());
        for (std::size_t i = 0; i < engine.times().size(); ++i) {
            ASSERT_EQ(engine.times()[i], static_cast<double>(i) * (1.0 / 120));
        }
    }
}

TEST(CursorEngineProperty, ThePathPassesThroughEveryClickThatHasRoom) {
    std::mt19937 random(6);
    std::uniform_real_distribution<double> position(0, 2000);
    for (int round = 0; round < 100; ++round) {
        std::vector<model::PointerSample> events;
        for (int i = 0; i < 2000; ++i) {
            // A press each second: further apart than two corrections reach.
            const auto kind = i % 100 == 50 ? model::PointerKind::down : model::PointerKind::move;
            events.push_back(event(i / 100.0, position(random), position(random), kind));
        }
        const CursorEngine engine(events, 20, 0.01 * (round + 1));
        for (const auto& each : events) {
            if (each.kind != model::PointerKind::down) continue;
            const auto k = static_cast<std::size_t>(each.t * 120);
            ASSERT_NEAR(engine.xs()[k], each.px, 0.0101);
            ASSERT_NEAR(engine.ys()[k], each.py, 0.0101);
        }
    }
}

TEST(CursorEngineDeathTest, TimesThatNoGridHoldsAreMistakesOfTheCaller) {
    EXPECT_DEATH(CursorEngine(std::vector{event(0, 1, 2)}, 1e30, 0.88), "no longer than its path");
    EXPECT_DEATH(CursorEngine(std::vector{event(1e300, 1, 2, model::PointerKind::down)}, 10, 0.88), "fits the grid");
}

}  // namespace
}  // namespace lumivastor::edit
