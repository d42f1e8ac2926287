// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/asset_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

struct Seen {
    int number;
    MediaTime time;
    MediaTime duration;
};

std::vector<Seen> readAll(AssetReader& reader, VideoTrackOutput& output) {
    EXPECT_TRUE(reader.startReading()) << (reader.error() ? reader.error()->message() : "");
    std::vector<Seen> seen;
    while (const auto sample = output.copyNextSample()) {
        seen.push_back({testPictureNumber(sample->planar()), sample->presentationTime, sample->duration});
    }
    return seen;
}

std::shared_ptr<const Asset> open(const std::filesystem::path& path) {
    return std::make_shared<const Asset>(path);
}

int videoTrack(const Asset& asset) {
    return asset.tracks(TrackKind::video).at(0).id;
}

// The picture shown at `time`: the last at or before it.
int shownAt(const TestMovieOptions& options, const MediaTime& time) {
    const int count = options.pictureTicks.empty() ? options.pictures : static_cast<int>(options.pictureTicks.size());
    int shown = 0;
    for (int i = 0; i < count; ++i) {
        const std::int64_t tick = options.pictureTicks.empty() ? std::int64_t{i} * options.timescale / options.frameRate
                                                               : options.pictureTicks[static_cast<std::size_t>(i)];
        if (MediaTime{tick, options.timescale} <= time) shown = i;
    }
    return shown;
}

struct Kind {
    std::string name;
    TestMovieOptions options;
};

std::vector<Kind> kinds() {
    std::vector<Kind> all;
    TestMovieOptions options;
    options.pictures = 90;
    options.keyFrameInterval = 30;
    all.push_back({"h264", options});
    options.keyFrameInterval = 250;
    all.push_back({"h264LongGroups", options});
    options.reorderedPictures = 3;
    options.keyFrameInterval = 24;
    all.push_back({"h264Reordered", options});
    options.openGroups = true;
    all.push_back({"h264OpenGroups", options});
    options.videoEncoder = "libx265";
    all.push_back({"hevcOpenGroups", options});
    options.openGroups = false;
    all.push_back({"hevcReordered", options});
    options.reorderedPictures = 0;
    options.keyFrameInterval = 250;
    all.push_back({"hevcLongGroups", options});
    options.keyFrameInterval = 15;
    options.fragmented = true;
    all.push_back({"hevcFragmented", options});
    options = {};
    options.timescale = 90000;
    std::int64_t tick = 0;
    for (int i = 0; i < 70; ++i) {
        options.pictureTicks.push_back(tick);
        tick += i % 7 == 0 ? 36007 : 1501 + 13 * i;
    }
    options.keyFrameInterval = 20;
    all.push_back({"variableRate", options});
    options = {};
    options.pictures = 90;
    options.slices = 4;
    all.push_back({"severalSlices", options});
    return all;
}

class EveryKind : public testing::TestWithParam<Kind> {};

INSTANTIATE_TEST_SUITE_P(Reader, EveryKind, testing::ValuesIn(kinds()),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(EveryKind, GivesEveryPictureAtItsTime) {
    const TemporaryFolder folder;
    const TestMovieOptions& options = GetParam().options;
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    // The first one reads the file as the asset has opened it, the second one opens it again.
    for (const char* which : {"first", "second"}) {
        SCOPED_TRACE(which);
        AssetReader reader(asset);
        auto& output = reader.addVideoOutput(videoTrack(*asset), PictureFormat::planar);
        const auto seen = readAll(reader, output);
        EXPECT_EQ(reader.status(), AssetReader::Status::completed);
        const std::size_t count = options.pictureTicks.empty() ? 90 : options.pictureTicks.size();
        ASSERT_EQ(seen.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_EQ(seen[i].number, static_cast<int>(i));
            EXPECT_NEAR(seen[i].time.seconds(), testPictureSeconds(options, static_cast<int>(i)), 1e-9) << i;
            if (i + 1 < count) {
                EXPECT_EQ(seen[i].time + seen[i].duration, seen[i + 1].time);
            }
        }
        EXPECT_NEAR(asset->duration().seconds(), (seen.back().time + seen.back().duration).seconds(), 0.05);
    }
}

TEST_P(EveryKind, StartsAnywhereWithThePictureShownThere) {
    const TemporaryFolder folder;
    const TestMovieOptions& options = GetParam().options;
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    const auto end = MediaTime::fromSeconds(asset->duration().seconds(), 600);
    for (std::int64_t tick = 0; tick + 60 < end.value; tick += 97) {
        AssetReader reader(asset);
        auto& output = reader.addVideoOutput(videoTrack(*asset), PictureFormat::planar);
        const MediaTime start{tick, 600};
        reader.setTimeRange({start, {60, 600}});
        const auto seen = readAll(reader, output);
        ASSERT_FALSE(seen.empty()) << tick;
        EXPECT_EQ(seen[0].time, start);
        EXPECT_EQ(seen[0].number, shownAt(options, start)) << tick;
        for (const Seen& one : seen) {
            EXPECT_EQ(one.number, shownAt(options, one.time));
            EXPECT_LT(one.time, start + MediaTime({60, 600}));
        }
        EXPECT_EQ(seen.back().time + seen.back().duration, start + MediaTime({60, 600}));
        EXPECT_EQ(reader.status(), AssetReader::Status::completed);
    }
}

TEST_P(EveryKind, CutsAreExactAcrossGroups) {
    const TemporaryFolder folder;
    const TestMovieOptions& options = GetParam().options;
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    SegmentedMovie composition;
    const int track = composition.addTrack(TrackKind::video);
    // Forward within a group, across groups, back, and directly on.
    const std::vector<std::pair<double, double>> cuts = {{0.1, 0.5}, {0.62, 0.81}, {1.9, 2.4}, {0.9, 1.3}, {1.3, 1.42}};
    std::map<int, MediaTime> starts;
    MediaTime at;
    for (const auto& [from, to] : cuts) {
        const auto range = TimeRange::between(MediaTime::fromSeconds(from, 600), MediaTime::fromSeconds(to, 600));
        composition.insert(track, asset, videoTrack(*asset), range, at);
        at = at + range.duration;
    }
    AssetReader reader(composition);
    const auto seen = readAll(reader, reader.addVideoOutput(track, PictureFormat::planar));
    EXPECT_EQ(reader.status(), AssetReader::Status::completed);
    MediaTime expectedNext;
    for (const Seen& one : seen) {
        EXPECT_EQ(one.time, expectedNext);
        expectedNext = one.time + one.duration;
        for (const MovieSegment& segment : composition.track(track)->segments) {
            if (!segment.target.contains(one.time)) continue;
            EXPECT_EQ(one.number, shownAt(options, segment.sourceStart + (one.time - segment.target.start)));
        }
    }
    EXPECT_EQ(expectedNext, composition.duration());
}

}  // namespace
}  // namespace lumivastor::media
