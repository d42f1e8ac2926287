// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_selection.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::editor {
namespace {

using Kind = StripSelection::Kind;

TEST(StripSelections, GoFromZoomToCutInTheOrderOfTime) {
    const std::vector<model::ZoomSpec> zooms = {{1, 2, 2, {}}, {5, 6, 2, {}}};
    const std::vector<model::CutRange> cuts = {{7, 8}, {3, 4}};
    const std::vector<StripSelection> order = {{Kind::zoom, 0}, {Kind::cut, 1}, {Kind::zoom, 1}, {Kind::cut, 0}};
    StripSelection at = neighbourOf({}, true, zooms, cuts);
    for (const StripSelection& expected : order) {
        EXPECT_EQ(at, expected);
        at = neighbourOf(at, true, zooms, cuts);
    }
    EXPECT_EQ(at, order.back()) << "it ends there";
    for (std::size_t i = order.size(); i-- > 0;) {
        EXPECT_EQ(at, order[i]);
        at = neighbourOf(at, false, zooms, cuts);
    }
    EXPECT_EQ(at, order.front());
    EXPECT_EQ(neighbourOf({}, false, zooms, cuts), order.back());
    EXPECT_EQ(neighbourOf({}, true, {}, {}), StripSelection());
}

}  // namespace
}  // namespace lumivastor::editor
