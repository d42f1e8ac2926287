// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/region_selection.h"

#include <gtest/gtest.h>

namespace lumivastor::app {
namespace {

constexpr Size kOverlay{1280, 800};

TEST(RegionSelection, AsksForADragInTheMiddleUntilThereIsOne) {
    RegionSelection selection(kOverlay);
    const auto label = selection.label();
    ASSERT_TRUE(label);
    EXPECT_EQ(label->text, "Ausschnitt mit der Maus aufziehen – Esc bricht ab");
    EXPECT_EQ(label->fontSize, 20);
    EXPECT_EQ(label->centre, (Point{640, 400}));
    EXPECT_FALSE(selection.hole());
}

TEST(RegionSelection, ADragInAnyDirectionGivesTheRectangleBetweenItsEnds) {
    const Rect expected{100, 50, 200, 300};
    const Point corners[] = {{100, 50}, {300, 50}, {300, 350}, {100, 350}};
    for (int i = 0; i < 4; ++i) {
        RegionSelection selection(kOverlay);
        selection.mouseDown(corners[i]);
        selection.mouseDragged({500, 500});
        EXPECT_EQ(selection.mouseUp(corners[(i + 2) % 4]), expected);
        EXPECT_FALSE(selection.hole()) << "the drag is over";
    }
}

TEST(RegionSelection, WhatIsSmallerThanSixtyPointsOnOneSideIsNoRegion) {
    struct Case {
        double width, height;
        bool taken;
    };
    for (const Case& each : {Case{60, 60, true}, Case{59, 200, false}, Case{200, 59, false}, Case{59.9, 60, false},
                             Case{0, 0, false}, Case{600, 60, true}}) {
        RegionSelection selection(kOverlay);
        selection.mouseDown({10, 10});
        const auto rect = selection.mouseUp({10 + each.width, 10 + each.height});
        EXPECT_EQ(rect.has_value(), each.taken) << each.width << " × " << each.height;
    }
}

TEST(RegionSelection, AReleaseOrAMoveWithoutAPressIsNothing) {
    RegionSelection selection(kOverlay);
    selection.mouseDragged({500, 500});
    EXPECT_FALSE(selection.hole());
    EXPECT_FALSE(selection.mouseUp({800, 600}));
}

TEST(RegionSelection, ShowsSizeAndHoleOnceTheDragIsWiderThanTwoPoints) {
    RegionSelection selection(kOverlay);
    selection.mouseDown({100, 100});
    selection.mouseDragged({102, 400});
    EXPECT_FALSE(selection.hole());
    EXPECT_FALSE(selection.label()) << "neither a hint nor a size";
    selection.mouseDragged({420.9, 280.2});
    EXPECT_EQ(selection.hole(), (Rect{100, 100, 420.9 - 100, 280.2 - 100}));
    const auto label = selection.label();
    ASSERT_TRUE(label);
    EXPECT_EQ(label->text, "320 × 180");
    EXPECT_EQ(label->fontSize, 13);
    EXPECT_DOUBLE_EQ(label->centre.x, (100 + 420.9) / 2);
    EXPECT_DOUBLE_EQ(label->centre.y, 280.2 + 18);
}

TEST(RegionSelection, TheSizeNeverLeavesTheBottomOfTheScreen) {
    for (int bottom = 100; bottom <= 800; ++bottom) {
        RegionSelection selection(kOverlay);
        selection.mouseDown({100, 50});
        selection.mouseDragged({400, static_cast<double>(bottom)});
        const double y = selection.label()->centre.y;
        EXPECT_LE(y, 800 - 14);
        EXPECT_TRUE(y == bottom + 18 || y == 800 - 14) << bottom;
    }
}

TEST(RegionSelection, ADragBeyondTheScreenEndsAtItsEdge) {
    RegionSelection selection(kOverlay);
    selection.mouseDown({1000, 700});
    selection.mouseDragged({2000, 2000});
    EXPECT_EQ(selection.hole(), (Rect{1000, 700, 280, 100}));
    EXPECT_EQ(selection.mouseUp({2000, -50}), (Rect{1000, 0, 280, 700}));
}

TEST(DisplayRect, IsTheSameWhereOverlayAndDisplayHaveTheSamePoints) {
    const platform::Display display{1, "links", {100, 50, 640, 400}, 2};
    EXPECT_EQ(displayRect({10, 20, 200, 100}, 2, display), (Rect{10, 20, 200, 100}));
}

TEST(DisplayRect, CountsInTheDisplaysPointsWhereTheOverlayHasOthers) {
    const platform::Display display{1, "links", {100, 50, 1280, 800}, 1};
    EXPECT_EQ(displayRect({10, 20, 200, 100}, 2, display), (Rect{20, 40, 400, 200}));
    const platform::Display fine{1, "links", {100, 50, 640, 400}, 2};
    EXPECT_EQ(displayRect({10, 20, 200, 100}, 1, fine), (Rect{5, 10, 100, 50}));
}

TEST(DisplayRect, CountsInPartsOfAnOverlayThatShowsTheWholeDisplay) {
    const platform::Display display{1, "links", {100, 50, 1280, 800}, 2};
    EXPECT_EQ(displayRect({64, 40, 320, 200}, Size{640, 400}, display), (Rect{128, 80, 640, 400}));
}

TEST(FittedInto, KeepsThePicturesShapeInTheMiddle) {
    EXPECT_EQ(fittedInto({1280, 800}, {1280, 800}), (Rect{0, 0, 1280, 800}));
    EXPECT_EQ(fittedInto({1280, 800}, {800, 800}), (Rect{240, 0, 800, 800}));
    EXPECT_EQ(fittedInto({1280, 800}, {2560, 800}), (Rect{0, 200, 1280, 400}));
}

TEST(RegionSelectionKeys, MakeARectangleThatStaysInside) {
    RegionSelection selection({800, 600});
    EXPECT_EQ(selection.madeByKeys(), std::nullopt);
    selection.moveByKey({10, 0});
    EXPECT_EQ(selection.madeByKeys(), (Rect{200, 150, 400, 300})) << "the first key only shows it";
    EXPECT_EQ(selection.hole(), selection.madeByKeys());
    EXPECT_EQ(selection.label()->text, "400 × 300");
    selection.moveByKey({10, -20});
    EXPECT_EQ(selection.madeByKeys(), (Rect{210, 130, 400, 300}));
    selection.moveByKey({1000, -1000});
    EXPECT_EQ(selection.madeByKeys(), (Rect{400, 0, 400, 300}));
    selection.sizeByKey({100, 100});
    EXPECT_EQ(selection.madeByKeys(), (Rect{400, 0, 400, 400}));
    selection.sizeByKey({-1000, -1000});
    EXPECT_EQ(selection.madeByKeys(), (Rect{400, 0, 60, 60})) << "as small as a drag may be";
}

TEST(RegionSelectionKeys, LeaveADragAlone) {
    RegionSelection selection({800, 600});
    selection.mouseDown({10, 10});
    selection.mouseDragged({110, 110});
    selection.moveByKey({10, 10});
    selection.sizeByKey({10, 10});
    EXPECT_EQ(selection.madeByKeys(), std::nullopt);
    EXPECT_EQ(selection.mouseUp({110, 110}), (Rect{10, 10, 100, 100}));
    selection.moveByKey({10, 10});
    selection.mouseDown({20, 20});
    EXPECT_EQ(selection.madeByKeys(), std::nullopt) << "the pointer begins again";
}

}  // namespace
}  // namespace lumivastor::app
