// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/picture_times.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "imaging/picture.h"
#include "media/reading/asset_reader.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

struct Shown {
    MediaTime time;
    MediaTime sourceTime;

    bool operator==(const Shown&) const = default;
};

std::vector<Shown> shown(const SegmentedMovie& movie, int track, PictureFormat format,
                         const std::optional<TimeRange>& range) {
    AssetReader reader(movie);
    VideoTrackOutput& output = reader.addVideoOutput(track, format);
    if (range) reader.setTimeRange(*range);
    EXPECT_TRUE(reader.startReading());
    std::vector<Shown> all;
    while (const auto sample = output.copyNextSample()) {
        EXPECT_EQ(sample->planar().width, 128);
        EXPECT_EQ(sample->planar().height, 96);
        all.push_back({sample->presentationTime, sample->sourceTime});
    }
    EXPECT_EQ(reader.status(), AssetReader::Status::completed);
    return all;
}

TEST(PictureTimes, AreThoseThatDecodingFinds) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.keyFrameInterval = 20;
    // As in recordings: at any times, some of them far apart.
    std::mt19937 random(5);
    for (std::int64_t tick = 13; options.pictureTicks.size() < 80;
         tick += 1 + random() % (random() % 9 == 0 ? 300 : 25)) {
        options.pictureTicks.push_back(tick);
    }
    makeTestMovie(folder / "movie.mov", options);
    const auto asset = std::make_shared<const Asset>(folder / "movie.mov");
    const int source = asset->tracks(TrackKind::video).front().id;
    const std::int64_t last = options.pictureTicks.back();
    for (int round = 0; round < 25; ++round) {
        SegmentedMovie movie;
        const int track = movie.addTrack(TrackKind::video);
        MediaTime at;
        for (int segment = 0; segment < 3; ++segment) {
            const auto start = static_cast<std::int64_t>(random() % static_cast<unsigned>(last));
            const TimeRange range{{start, 600}, {1 + static_cast<std::int64_t>(random() % 500), 600}};
            movie.insert(track, asset, source, range, at);
            at = at + range.duration;
        }
        std::optional<TimeRange> range;
        if (round % 2 == 1) range = TimeRange::between({at.rescaled(600).value / 3, 600}, at);
        EXPECT_EQ(shown(movie, track, PictureFormat::timesOnly, range),
                  shown(movie, track, PictureFormat::planar, range))
            << round;
    }
}

TEST(PictureTimes, PicturesAreToldApart) {
    const TemporaryFolder folder;
    makeTestMovie(folder / "movie.mov", {});
    const auto asset = std::make_shared<const Asset>(folder / "movie.mov");
    PictureTimes times(asset, asset->tracks(TrackKind::video).front().id);
    times.seek({30, 600});
    ASSERT_TRUE(times.hasCurrent());
    EXPECT_EQ(times.currentTime(), (MediaTime{20, 600}));
    const imaging::Picture first(times.picture());
    EXPECT_EQ(times.picture().luma.samples, nullptr);
    times.advance();
    EXPECT_FALSE(first == imaging::Picture(times.picture()));
    for (int i = 2; i < 60; ++i) times.advance();
    EXPECT_FALSE(times.hasCurrent());
}

}  // namespace
}  // namespace lumivastor::media
