// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/axis_placement.h"

#include <gtest/gtest.h>

namespace lumivastor::imaging {
namespace {

TEST(AxisPlacement, CoverageIsFullInsideAndPartialAtTheEdges) {
    const SampledAxis samples = sampled({}, 20, 0.5, 20);
    const AxisCoverage coverage = coverageOf(samples, {3.25, 15.5});
    EXPECT_EQ(coverage.span, (AxisSpan{3, 16}));
    EXPECT_EQ(coverage.full, (AxisSpan{4, 15}));
    ASSERT_EQ(coverage.levels.size(), 13u);
    EXPECT_EQ(coverage.levels.front(), kFullLevel * 3 / 4);
    EXPECT_EQ(coverage.levels.back(), kFullLevel / 2);
    for (std::size_t i = 1; i < 12; ++i) EXPECT_EQ(coverage.levels[i], kFullLevel);
    const AxisCoverage all = coverageOf(samples, {-5, 50});
    EXPECT_EQ(all.span, (AxisSpan{0, 20}));
    EXPECT_EQ(all.full, (AxisSpan{0, 20}));
}

TEST(AxisPlacement, ClampedSamplesAreCoveredLikeThePlainOnesWhereNothingIsCut) {
    AxisSteps clamped;
    clamped.clamp(-100, 100);
    const AxisInterval shown{2.75, 9.125};
    const AxisCoverage coverage = coverageOf(sampled(clamped, 20, 0.5, 20), shown);
    const AxisCoverage plain = coverageOf(sampled({}, 20, 0.5, 20), shown);
    EXPECT_EQ(coverage.span, plain.span);
    EXPECT_EQ(coverage.full, plain.full);
    EXPECT_EQ(coverage.levels, plain.levels);
}

TEST(AxisPlacement, NothingIsCoveredWhereCropsLeaveNothing) {
    const AxisCoverage coverage = coverageOf(sampled({}, 20, 0.5, 20), {15, 3});
    EXPECT_TRUE(coverage.levels.empty());
    EXPECT_EQ(coverage.span.begin, coverage.span.end);
}

}  // namespace
}  // namespace lumivastor::imaging
