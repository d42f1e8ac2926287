// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/still_stretches.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "imaging/picture_pool.h"
#include "media/region/region_video_encoder.h"
#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::render {
namespace {

media::IndexedSample sample(double seconds, int bytes, bool isKey = false) {
    return {MediaTime::fromSeconds(seconds, 60'000), bytes, isKey};
}

using Intervals = std::vector<Interval>;

TEST(StillStretches, WithoutSamplesThereAreNone) {
    EXPECT_EQ(stillStretches({}, 10), Intervals{});
}

TEST(StillStretches, OnePictureStaysToTheEnd) {
    EXPECT_EQ(stillStretches(std::vector{sample(0, 90'000, true)}, 10), (Intervals{{0, 10}}));
}

TEST(StillStretches, RepeatsOfAStillScreenAreNoChange) {
    std::vector<media::IndexedSample> samples{sample(0, 90'000, true)};
    for (int i = 1; i <= 30; ++i) samples.push_back(sample(i * 1.01, 18));
    EXPECT_EQ(stillStretches(samples, 31), (Intervals{{0, 31}}));
}

TEST(StillStretches, RefreshesOfTheSamePictureAreNoChange) {
    std::vector<media::IndexedSample> samples{sample(0, 90'000, true)};
    // An encoder without repeats, with a key picture every ten seconds.
    for (int i = 1; i <= 30; ++i) samples.push_back(i % 10 == 0 ? sample(i, 95'000, true) : sample(i, 900));
    EXPECT_EQ(stillStretches(samples, 31), (Intervals{{0, 31}}));
}

TEST(StillStretches, EveryOtherPictureIsAChange) {
    std::vector<media::IndexedSample> samples{sample(0, 90'000, true)};
    for (int i = 1; i < 5; ++i) samples.push_back(sample(i, 18));
    samples.push_back(sample(4.6, 130));     // a letter
    samples.push_back(sample(5.6, 18));      // the next repeat is a second later
    samples.push_back(sample(6.6, 50'000));  // much, just when a repeat is due
    samples.push_back(sample(7.6, 18));
    EXPECT_EQ(stillStretches(samples, 8), (Intervals{{0, 4.6}, {4.6, 6.6}, {6.6, 8}}));
}

TEST(StillStretches, TypingIsNot) {
    std::vector<media::IndexedSample> samples{sample(0, 90'000, true)};
    for (int i = 1; i < 40; ++i) samples.push_back(sample(i * 0.23, 150));
    EXPECT_EQ(stillStretches(samples, 40 * 0.23), Intervals{});
}

TEST(StillStretches, NeitherAreGapsBehindWhichSomethingChanged) {
    const std::vector samples{sample(0, 90'000, true), sample(5, 900), sample(9, 90'000, true)};
    EXPECT_EQ(stillStretches(samples, 10), (Intervals{{0, 5}, {5, 9}, {9, 10}}));
}

// What the program writes: pictures only where something changes, and repeats.
class RecordedStretches : public testing::TestWithParam<bool> {};

TEST_P(RecordedStretches, AreFoundInARecording) {
    constexpr int kWidth = 640;
    constexpr int kHeight = 352;
    constexpr int kFps = 30;
    TemporaryFolder folder;
    const auto path = folder.path() / "source.mov";
    media::AssetWriter writer(path, media::MovieContainer::quickTime);
    media::VideoSettings settings;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.averageBitRate = 2'000'000;
    settings.maxKeyFrameInterval = 2 * kFps;
    settings.maxSeekSeconds = 0.08;
    settings.keySecondsAfterChange = 10;
    settings.frameRate = kFps;
    settings.timescale = 60'000;
    settings.lowLatency = true;
    settings.constantQuality = 20;
    if (GetParam()) settings.make = media::regionEncoderMaker({});
    auto& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    // Letters at 2.2, 2.5 and 2.9 s; a new page at 7.3 s.
    const auto lettersAt = [](int frame) { return (frame >= 66) + (frame >= 75) + (frame >= 87); };
    int last = 0;
    const auto pageAt = [](int frame) { return frame >= 219 ? 1 : 0; };
    for (int frame = 0; frame < 15 * kFps; ++frame) {
        const bool isNew = frame == 0 || lettersAt(frame) != lettersAt(frame - 1) || pageAt(frame) != pageAt(frame - 1);

        if (isNew) last = frame;
        if (!isNew && (frame - last) % kFps != 0) continue;
        while (!input.isReadyForMoreMediaData()) std::this_thread::yield();
        const MediaTime time{frame * 2000, 60'000};
        if (!isNew) {
            input.appendRepeat(time);
            continue;
        }
        auto picture = input.pool().makePlanar();
        const imaging::YuvDestination& to = picture->destination();
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const bool isText = (x / 3 * 7 + y / 5 * 13 + pageAt(frame) * 5) % 11 == 0;
                const bool isTyped = y >= 100 && y < 112 && x >= 40 && x < 40 + 9 * lettersAt(frame) && x % 3 == 0;
                to.luma[y * to.lumaStride + x] = isText || isTyped ? 30 : 230;
            }
        }
        for (int y = 0; y < kHeight / 2; ++y) {
            std::fill_n(to.cb + y * to.chromaStride, kWidth / 2, std::uint8_t{128});
            std::fill_n(to.cr + y * to.chromaStride, kWidth / 2, std::uint8_t{128});
        }
        input.append(std::move(picture), time);
    }
    input.markAsFinished();
    writer.endSession({15, 1});
    ASSERT_TRUE(writer.finishWriting());

    const auto asset = std::make_shared<const media::Asset>(path);
    const auto samples = media::KeyPictures(asset, asset->tracks().front().id).index();
    const auto found = stillStretches(samples, 15);
    ASSERT_EQ(found.size(), 3U);
    const Intervals expected{{0, 2.2}, {2.9, 7.3}, {7.3, 15}};
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].start, expected[i].start, 0.001);
        EXPECT_NEAR(found[i].end, expected[i].end, 0.001);
    }
}

INSTANTIATE_TEST_SUITE_P(EitherEncoder, RecordedStretches, testing::Bool());

}  // namespace
}  // namespace lumivastor::render
