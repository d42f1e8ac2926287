// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/segmented_movie.h"

#include <gtest/gtest.h>

#include <vector>

#include "media/reading/asset_reader.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

class CompositionTest : public testing::Test {
  protected:
    void SetUp() override {
        TestMovieOptions options;
        options.pictures = 60;
        options.sounds = {{}};
        makeTestMovie(folder_ / "a.mov", options);
        asset_ = std::make_shared<const Asset>(folder_ / "a.mov");
        video_ = asset_->tracks(TrackKind::video).at(0).id;
    }

    std::vector<std::pair<double, int>> read(const SegmentedMovie& composition, int track,
                                             std::optional<TimeRange> range = std::nullopt) const {
        AssetReader reader(composition);
        if (range) reader.setTimeRange(*range);
        auto& output = reader.addVideoOutput(track, PictureFormat::bgraPremultiplied);
        EXPECT_TRUE(reader.startReading());
        std::vector<std::pair<double, int>> seen;
        while (const auto sample = output.copyNextSample()) {
            seen.emplace_back(sample->presentationTime.seconds(), testPictureNumber(sample->bgra()));
        }
        EXPECT_EQ(reader.status(), AssetReader::Status::completed);
        return seen;
    }

    TemporaryFolder folder_;
    std::shared_ptr<const Asset> asset_;
    int video_ = 0;
};

TEST_F(CompositionTest, ShowsAWholeMovieUnderItsOwnTrackIds) {
    const auto composition = SegmentedMovie::showing(asset_);
    ASSERT_EQ(composition.tracks().size(), 2u);
    EXPECT_EQ(composition.tracks(TrackKind::video).at(0).id, video_);
    EXPECT_EQ(composition.duration(), asset_->duration());
    EXPECT_EQ(read(composition, video_).size(), 60u);
}

TEST_F(CompositionTest, InsertingInTheMiddleCutsAndMovesBack) {
    SegmentedMovie composition;
    const int track = composition.addTrack(TrackKind::video);
    composition.insert(track, asset_, video_, {{0, 600}, {600, 600}}, {});
    composition.insert(track, asset_, video_, {{900, 600}, {60, 600}}, {300, 600});
    ASSERT_EQ(composition.track(track)->segments.size(), 3u);
    EXPECT_EQ(composition.duration(), (MediaTime{660, 600}));
    const auto seen = read(composition, track);
    ASSERT_EQ(seen.size(), 33u);
    EXPECT_EQ(seen[14].second, 14);
    EXPECT_EQ(seen[15].second, 45);
    EXPECT_EQ(seen[17].second, 47);
    EXPECT_EQ(seen[18].second, 15);
    EXPECT_NEAR(seen[18].first, 0.6, 1e-9);
}

TEST_F(CompositionTest, GapsBecomeEmptyRangesAndNothingIsNothing) {
    SegmentedMovie composition;
    const int track = composition.addTrack(TrackKind::video);
    composition.insert(track, asset_, video_, {{0, 600}, {0, 600}}, {});
    EXPECT_TRUE(composition.track(track)->segments.empty());
    composition.insert(track, asset_, video_, {{600, 600}, {60, 600}}, {300, 600});
    ASSERT_EQ(composition.track(track)->segments.size(), 2u);
    EXPECT_TRUE(composition.track(track)->segments[0].isEmpty());
    const auto seen = read(composition, track);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0], (std::pair<double, int>{0.5, 30}));
}

TEST_F(CompositionTest, ASegmentBeginsWithThePictureThatIsShownThere) {
    SegmentedMovie composition;
    const int track = composition.addTrack(TrackKind::video);
    // Pictures lie 20 ticks apart: 619 is within picture 30, one tick before picture 31.
    composition.insert(track, asset_, video_, {{619, 600}, {40, 600}}, {});
    const auto seen = read(composition, track);
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0], (std::pair<double, int>{0.0, 30}));
    EXPECT_EQ(seen[1].second, 31);
    EXPECT_NEAR(seen[1].first, 1.0 / 600, 1e-12);
    EXPECT_EQ(seen[2].second, 32);
    EXPECT_NEAR(seen[2].first, 21.0 / 600, 1e-12);
}

TEST_F(CompositionTest, RangesBeyondTheSourceShowNothingThere) {
    SegmentedMovie composition;
    const int track = composition.addTrack(TrackKind::video);
    composition.insert(track, asset_, video_, {{1140, 600}, {600, 600}}, {});
    composition.insert(track, asset_, video_, {{0, 600}, {20, 600}}, {600, 600});
    const auto seen = read(composition, track);
    ASSERT_EQ(seen.size(), 4u);
    EXPECT_EQ(seen[2].second, 59);
    EXPECT_EQ(seen[3], (std::pair<double, int>{1.0, 0}));
}

TEST_F(CompositionTest, ARangeCutsAcrossSegments) {
    SegmentedMovie composition;
    const int track = composition.addTrack(TrackKind::video);
    composition.insert(track, asset_, video_, {{0, 600}, {100, 600}}, {});
    composition.insert(track, asset_, video_, {{600, 600}, {100, 600}}, {100, 600});
    const auto seen = read(composition, track, TimeRange{{70, 600}, {80, 600}});
    const std::vector<int> expected = {3, 4, 30, 31, 32};
    ASSERT_EQ(seen.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(seen[i].second, expected[i]);
    EXPECT_NEAR(seen[0].first, 70.0 / 600, 1e-12);
}

}  // namespace
}  // namespace lumivastor::media
