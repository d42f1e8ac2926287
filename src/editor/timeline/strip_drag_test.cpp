// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_drag.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

namespace lumivastor::editor {
namespace {

using Kind = StripPart::Kind;

class StripDragging : public testing::Test {
  protected:
    StripDragging() {
        click_.t = 7.3;
        click_.kind = model::PointerKind::down;
        content_.duration = 100;
        content_.trim = {5, 95};
        content_.zooms = zooms_;
        content_.cuts = cuts_;
        content_.clicks = {&click_, 1};
        content_.playhead = 33;
    }

    model::PointerSample click_;
    std::vector<model::ZoomSpec> zooms_ = {{10, 20, 2, {}}, {40, 44, 2, {}}};
    std::vector<model::CutRange> cuts_ = {{60, 70}};
    TimelineStripContent content_;
};

TEST_F(StripDragging, PartsFollowThePointerFromWhereItTookThem) {
    const StripDrag body = beginStripDrag({Kind::zoom, 0}, 12, content_).value();
    EXPECT_EQ(stripDragStep(body, 15, {}, 0).seconds, 13);
    const StripDrag end = beginStripDrag({Kind::zoomEnd, 0}, 20.1, content_).value();
    EXPECT_NEAR(stripDragStep(end, 22.1, {}, 0).seconds, 22, 1e-12);
    const StripDrag cut = beginStripDrag({Kind::cutStart, 0}, 60, content_).value();
    EXPECT_EQ(stripDragStep(cut, 50, {}, 0).seconds, 50);
    const StripDrag trim = beginStripDrag({Kind::trimEnd}, 95, content_).value();
    EXPECT_EQ(stripDragStep(trim, 90, {}, 0).seconds, 90);
    for (const Kind kind : {Kind::outside, Kind::empty, Kind::playhead, Kind::click}) {
        EXPECT_FALSE(beginStripDrag({kind, 0}, 1, content_).has_value());
    }
    EXPECT_FALSE(beginStripDrag({Kind::zoom, 2}, 1, content_).has_value());
    EXPECT_FALSE(beginStripDrag({Kind::cut, -1}, 1, content_).has_value());
}

TEST_F(StripDragging, EverythingButThePartItselfIsSnappedTo) {
    const std::vector<double> sounds = {2.5};
    const auto times = snapTimes({Kind::zoom, 0}, content_, sounds);
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_EQ(times, (std::vector<double>{0, 2.5, 5, 7.3, 33, 40, 44, 60, 70, 95, 100}));
    EXPECT_EQ(snapTimes({Kind::cutEnd, 0}, content_, {}),
              (std::vector<double>{0, 5, 7.3, 10, 20, 33, 40, 44, 95, 100}));
    EXPECT_EQ(snapTimes({Kind::trimStart}, content_, {}),
              (std::vector<double>{0, 7.3, 10, 20, 33, 40, 44, 60, 70, 95, 100}));
}

TEST(StripSounds, BeginningsAfterSilenceAreSnappedTo) {
    // Two words of half a second, at 2 and 5 s.
    std::vector<std::uint8_t> levels(800, 0);
    for (const int start : {200, 500}) std::fill_n(levels.begin() + start, 50, std::uint8_t{220});
    render::RecordingOverview overview;
    EXPECT_TRUE(soundBeginnings(overview, 8).empty());
    overview.microphone = std::make_shared<render::Waveform>(levels);
    const auto times = soundBeginnings(overview, 8);
    ASSERT_EQ(times.size(), 2u);
    // A word begins more softly than what is loud.
    EXPECT_NEAR(times[0], 1.85, 0.02);
    EXPECT_NEAR(times[1], 4.85, 0.02);
}

TEST_F(StripDragging, AnEndSnapsToTheNearestWithinReach) {
    const StripDrag end = beginStripDrag({Kind::zoomEnd, 0}, 20, content_).value();
    const std::vector<double> snaps = {22, 23};
    for (double pointer = 19; pointer < 26; pointer += 0.01) {
        const StripDragStep step = stripDragStep(end, pointer, snaps, 0.4);
        const double nearest = std::abs(pointer - 22) < std::abs(pointer - 23) ? 22 : 23;
        if (std::abs(pointer - nearest) < 0.399) {
            EXPECT_EQ(step.seconds, nearest);
            EXPECT_EQ(step.snappedTo, nearest);
        } else if (std::abs(pointer - nearest) > 0.401) {
            EXPECT_EQ(step.seconds, pointer);
            EXPECT_EQ(step.snappedTo, std::nullopt);
        }
        EXPECT_EQ(stripDragStep(end, pointer, snaps, 0).seconds, pointer) << "suspended";
    }
}

TEST_F(StripDragging, ABodySnapsWithTheEndThatIsNearer) {
    const StripDrag body = beginStripDrag({Kind::zoom, 0}, 10, content_).value();
    const std::vector<double> snaps = {12, 22.2};
    EXPECT_NEAR(stripDragStep(body, 11.95, snaps, 0.5).seconds, 12, 1e-12);
    const StripDragStep step = stripDragStep(body, 12.15, snaps, 0.5);
    EXPECT_NEAR(step.seconds, 12.2, 1e-12);
    EXPECT_EQ(step.snappedTo, 22.2);
    EXPECT_EQ(stripDragStep(body, 17, snaps, 0.5).snappedTo, std::nullopt);
}

}  // namespace
}  // namespace lumivastor::editor
