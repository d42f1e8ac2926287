// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_parts.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

using Kind = StripPart::Kind;

model::PointerSample pressAt(double t) {
    model::PointerSample sample;
    sample.t = t;
    sample.kind = model::PointerKind::down;
    return sample;
}

// A hundred seconds, ten points each.
class StripParts : public testing::Test {
  protected:
    StripPart at(double x, double y) { return stripPartAt(layOut(), lanes_, selection_, x, y); }
    Kind zoomAt(double x) { return at(x, lanes_.zooms.middle()).kind; }
    Kind trackAt(double x) { return at(x, lanes_.clicks.middle()).kind; }

    TimelineStripLayout layOut() {
        return layOutTimelineStrip({100, 30, trim_, {}, zooms_, cuts_, clicks_, std::nullopt, playhead_},
                                   TimeScale({0, 100}, 10, 1010), 80);
    }

    const StripLanes lanes_ = layOutLanes({}, 14);
    std::vector<model::ZoomSpec> zooms_ = {{10, 20, 2, {}}, {20, 30, 2, {}}, {50, 50.5, 2, {}}};
    std::vector<model::CutRange> cuts_ = {{60, 70}};
    std::vector<model::PointerSample> clicks_ = {pressAt(40)};
    edit::TrimRange trim_{5, 95};
    double playhead_ = 80;
    StripSelection selection_;
};

TEST_F(StripParts, AZoomHasABodyAndTwoEnds) {
    EXPECT_EQ(zoomAt(160), Kind::zoom);
    EXPECT_EQ(at(160, lanes_.zooms.middle()).index, 0);
    for (const double x : {106.0, 110.0, 114.0}) EXPECT_EQ(zoomAt(x), Kind::zoomStart) << x;
    for (const double x : {306.0, 310.0, 314.0}) EXPECT_EQ(zoomAt(x), Kind::zoomEnd) << x;
    EXPECT_EQ(zoomAt(103), Kind::empty);
    EXPECT_EQ(zoomAt(316), Kind::empty);
}

TEST_F(StripParts, WhereTwoTouchThePointersOwnIsTaken) {
    EXPECT_EQ(at(208, lanes_.zooms.middle()), (StripPart{Kind::zoomEnd, 0}));
    EXPECT_EQ(at(212, lanes_.zooms.middle()), (StripPart{Kind::zoomStart, 1}));
    selection_ = {StripSelection::Kind::zoom, 0};
    EXPECT_EQ(at(212, lanes_.zooms.middle()), (StripPart{Kind::zoomEnd, 0})) << "the selected one comes first";
    selection_ = {StripSelection::Kind::zoom, 1};
    EXPECT_EQ(at(208, lanes_.zooms.middle()), (StripPart{Kind::zoomStart, 1}));
}

TEST_F(StripParts, ANarrowZoomKeepsItsMiddle) {
    EXPECT_EQ(zoomAt(512.5), Kind::zoom);
    EXPECT_EQ(zoomAt(508), Kind::zoomStart);
    EXPECT_EQ(zoomAt(518), Kind::zoomEnd);
}

TEST_F(StripParts, OfZoomsThatOverlapTheSelectedOneIsAbove) {
    zooms_ = {{10, 40, 2, {}}, {20, 60, 2, {}}};
    EXPECT_EQ(at(300, lanes_.zooms.middle()).index, 1);
    selection_ = {StripSelection::Kind::zoom, 0};
    EXPECT_EQ(at(300, lanes_.zooms.middle()).index, 0);
}

TEST_F(StripParts, CutsHaveThemBelowTheZooms) {
    EXPECT_EQ(trackAt(660), Kind::cut);
    EXPECT_EQ(trackAt(607), Kind::cutStart);
    EXPECT_EQ(trackAt(713), Kind::cutEnd);
    EXPECT_EQ(zoomAt(660), Kind::cut) << "where no zoom is";
    zooms_.push_back({61, 69, 2, {}});
    EXPECT_EQ(zoomAt(660), Kind::zoom);
    EXPECT_EQ(trackAt(660), Kind::cut);
}

TEST_F(StripParts, TrimHandlesLieOutsideOfWhatIsKept) {
    for (const double x : {52.0, 58.0, 62.0}) EXPECT_EQ(trackAt(x), Kind::trimStart) << x;
    EXPECT_EQ(trackAt(65), Kind::empty);
    for (const double x : {958.0, 960.0, 968.0}) EXPECT_EQ(trackAt(x), Kind::trimEnd) << x;
    trim_ = {0, 100};
    EXPECT_EQ(trackAt(4), Kind::trimStart);
    EXPECT_EQ(trackAt(1014), Kind::trimEnd);
    // A zoom that begins there can still be taken hold of.
    zooms_ = {{0, 10, 2, {}}};
    EXPECT_EQ(zoomAt(12), Kind::zoomStart);
}

TEST_F(StripParts, PlayheadAndClicks) {
    EXPECT_EQ(trackAt(810), Kind::playhead);
    EXPECT_EQ(at(810, lanes_.ruler.middle()).kind, Kind::playhead);
    EXPECT_EQ(trackAt(412), Kind::click);
    EXPECT_EQ(zoomAt(412), Kind::empty);
    EXPECT_EQ(at(412, lanes_.ruler.middle()).kind, Kind::empty);
    EXPECT_EQ(at(412, 500).kind, Kind::outside);
}

TEST_F(StripParts, EveryPlaceIsSomething) {
    for (double x = 0; x <= 1020; x += 0.5) {
        for (double y = 0; y < lanes_.height; y += 0.5) {
            const StripPart part = at(x, y);
            EXPECT_TRUE(!part.isOfZoom() || static_cast<std::size_t>(part.index) < zooms_.size());
            EXPECT_TRUE(!part.isOfCut() || part.index == 0);
            const bool isEnd = part.isEdited() && part.kind != Kind::zoom && part.kind != Kind::cut;
            EXPECT_EQ(pointerShape(part, false) == Qt::SizeHorCursor, isEnd || part.kind == Kind::playhead);
        }
    }
}

TEST_F(StripParts, TheShapeOfThePointerSaysWhatADragDoes) {
    EXPECT_EQ(pointerShape({Kind::zoom, 0}, false), Qt::OpenHandCursor);
    EXPECT_EQ(pointerShape({Kind::zoom, 0}, true), Qt::ClosedHandCursor);
    EXPECT_EQ(pointerShape({Kind::empty}, true), Qt::ArrowCursor);
    EXPECT_EQ(selectionOf({Kind::cutEnd, 3}), (StripSelection{StripSelection::Kind::cut, 3}));
    EXPECT_EQ(selectionOf({Kind::trimEnd}), StripSelection());
}

TEST(StripLanes, LanesWithoutDataAreNotShown) {
    const StripLanes few = layOutLanes({}, 14);
    EXPECT_TRUE(few.pictures.isEmpty());
    EXPECT_TRUE(few.systemSound.isEmpty());
    EXPECT_LT(few.height, 60);
    const StripLanes all = layOutLanes({true, true, true}, 14);
    EXPECT_LT(all.height, 130);
    double bottom = 0;
    for (const Lane& lane : {all.ruler, all.zooms, all.pictures, all.systemSound, all.microphone, all.clicks}) {
        EXPECT_GT(lane.height, 8);
        EXPECT_GE(lane.top, bottom);
        bottom = lane.bottom();
    }
    EXPECT_LE(bottom, all.height);
    EXPECT_EQ(all.track.bottom(), all.height);
}

}  // namespace
}  // namespace lumivastor::editor
