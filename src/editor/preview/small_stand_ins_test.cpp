// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/small_stand_ins.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

std::shared_ptr<const render::RecordingOverview> overviewWith(const std::vector<double>& seconds) {
    auto overview = std::make_shared<render::RecordingOverview>();
    for (const double each : seconds) {
        overview->pictures.push_back({each, std::make_shared<const imaging::BgraPremultipliedBuffer>(16, 9)});
    }
    return overview;
}

TEST(SmallStandIns, TheNearestOfTheStretchStandsIn) {
    const auto overview = overviewWith({0, 2, 4, 6, 8});
    const playback::SmallStandIns find = smallStandIns(overview);
    const auto at = [&](double seconds, Interval within) {
        const auto found = find(seconds, within);
        return found ? found->seconds : -1;
    };
    EXPECT_EQ(at(4.9, {0, 10}), 4);
    EXPECT_EQ(at(5.1, {0, 10}), 6);
    EXPECT_EQ(at(9.9, {0, 10}), 8);
    EXPECT_EQ(at(3.9, {1, 4}), 2) << "the picture at 4 is cut away";
    EXPECT_EQ(at(4.1, {4, 10}), 4);
    EXPECT_EQ(at(2.5, {2.1, 3.9}), -1);
    EXPECT_EQ(find(5.9, {0, 10})->picture, imaging::Picture(overview->pictures[3].pixels));
}

TEST(SmallStandIns, WithoutPicturesThereIsNone) {
    EXPECT_FALSE(smallStandIns(overviewWith({}))(1, {0, 10}).has_value());
}

}  // namespace
}  // namespace lumivastor::editor
