// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/picture_groups.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace lumivastor::render {
namespace {

using Groups = std::vector<PictureGroup>;

TEST(PictureGroups, BeginAtEvenSecondsOfTheSource) {
    EXPECT_EQ(pictureGroups(std::vector<ShownSegment>{{0, 0, 5}}, 10, 50), (Groups{{0, 20}, {20, 20}, {40, 10}}));
    EXPECT_EQ(pictureGroups(std::vector<ShownSegment>{{0, 1.5, 5}}, 10, 35), (Groups{{0, 5}, {5, 20}, {25, 10}}));
    EXPECT_EQ(pictureGroups({}, 10, 1), (Groups{{0, 1}}));
}

TEST(PictureGroups, BehindACutTheyHaveThePicturesThatTheyHadBefore) {
    const Groups before = pictureGroups(std::vector<ShownSegment>{{0, 0, 20}}, 30, 600);
    // 5.1 to 7.6 is gone: 75 pictures.
    const Groups after = pictureGroups(std::vector<ShownSegment>{{0, 0, 5.1}, {5.1, 7.6, 20}}, 30, 525);
    EXPECT_EQ(after, (Groups{{0, 60},
                             {60, 60},
                             {120, 33},
                             {153, 12},
                             {165, 60},
                             {225, 60},
                             {285, 60},
                             {345, 60},
                             {405, 60},
                             {465, 60}}));
    for (std::size_t i = 4; i < after.size(); ++i) EXPECT_EQ(after[i].first, before[i].first - 75) << i;
}

TEST(PictureGroups, ManyCutsShareAGroup) {
    std::vector<ShownSegment> segments;
    for (int i = 0; i < 100; ++i) segments.push_back({i * 0.02, i * 0.04, i * 0.04 + 0.02});
    const Groups groups = pictureGroups(segments, 30, 60);
    for (std::size_t i = 0; i + 1 < groups.size(); ++i) EXPECT_GE(groups[i].count, 15) << i;
    EXPECT_LE(groups.size(), 4u);
}

TEST(PictureGroups, OnlyTheLastHasOnePicture) {
    EXPECT_EQ(pictureGroups(std::vector<ShownSegment>{{0, 1.9, 4.1}}, 10, 22), (Groups{{0, 2}, {2, 19}, {21, 1}}));
    EXPECT_EQ(pictureGroups(std::vector<ShownSegment>{{0, 0, 2.1}}, 10, 21), (Groups{{0, 20}, {20, 1}}));
}

TEST(PictureGroups, CoverAnyFilm) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        const auto upTo = [&](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
        const int fps = 1 + upTo(59);
        std::vector<ShownSegment> segments;
        double output = 0;
        double source = upTo(300) / 100.0;
        for (int i = upTo(8); i >= 0; --i) {
            const double length = (1 + upTo(upTo(1) == 0 ? 10 : 900)) / 100.0;
            segments.push_back({output, source, source + length});
            output += length;
            source += length + upTo(200) / 100.0;
        }
        const auto total = std::max<std::int64_t>(1, static_cast<std::int64_t>(output * fps));
        const Groups groups = pictureGroups(segments, fps, total);
        std::int64_t next = 0;
        for (const PictureGroup& group : groups) {
            ASSERT_EQ(group.first, next);
            ASSERT_LE(group.count, 2 * fps);
            ASSERT_GE(group.count, group == groups.back() ? 1 : 2) << fps;
            next += group.count;
        }
        ASSERT_EQ(next, total);
    }
}

}  // namespace
}  // namespace lumivastor::render
