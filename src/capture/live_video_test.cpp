// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/live_video.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "media/reading/asset_reader.h"
#include "media/reading/key_pictures.h"
#include "media/region/region_video_encoder.h"
#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"

namespace lumivastor::capture {
namespace {

TEST(BitRates, AreEightHundredthsOfABitForEachPixel) {
    EXPECT_EQ(averageBitRate(1920, 1080, 60), 9953280);
    EXPECT_EQ(averageBitRate(2560, 1440, 30), 8847360);
    EXPECT_EQ(averageBitRate(2, 2, 30), 9);  // cut off, not rounded
    EXPECT_EQ(deviceBitRate(1178, 2556), 14452646);
    EXPECT_EQ(deviceBitRate(640, 480), 8000000);
}

TEST(LiveVideoSettings, PlaceKeyPicturesByWhatASeekTakes) {
    const media::VideoSettings settings = liveVideoSettings(1280, 720, 30, 5'000'000);
    EXPECT_EQ(settings.maxKeyFrameInterval, 60);
    EXPECT_EQ(settings.maxSeekSeconds, 0.08);
    EXPECT_EQ(settings.keySecondsAfterChange, 10);
    EXPECT_EQ(settings.constantQuality, 20);
    EXPECT_EQ(settings.frameRate, 30);
    EXPECT_EQ(settings.averageBitRate, 5'000'000);
    EXPECT_EQ(settings.timescale % 600, 0);
    EXPECT_TRUE(settings.lowLatency);
    EXPECT_TRUE(canAddVideo(settings));
    EXPECT_FALSE(canAddVideo(liveVideoSettings(20000, 720, 30, 1)));
    EXPECT_FALSE(canAddVideo(liveVideoSettings(1280, 0, 30, 1)));
}

TEST(LiveVideoSettings, OfAScreenLetSmallChangesBeRegionPictures) {
    media::VideoSettings settings = screenVideoSettings(320, 240, 30, 5'000'000);
    media::EncodingJob job = screenEncodingJob({320, 240}, 30);
    const auto slow = [](const media::EncoderCandidate&, const media::EncodingJob&) {
        return media::EncoderTrial{true, 1};
    };
    media::decideRecordingEncoder(job, {}, slow).applyTo(settings);
    const auto encoder = media::makePictureEncoder(settings);
    const auto* const region = dynamic_cast<const media::RegionVideoEncoder*>(encoder.get());
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(region->obstacle(), "");
    EXPECT_FALSE(liveVideoSettings(320, 240, 30, 5'000'000).make) << "a camera's noise changes everything";
}

// A page of specks, `lines` of it gone at the top, with so many letters in a line of its own.
void paintPage(const imaging::YuvDestination& planes, int lines, int letters) {
    for (int y = 0; y < planes.height; ++y) {
        std::uint8_t* const row = planes.luma + y * planes.lumaStride;
        for (int x = 0; x < planes.width; ++x) {
            const auto mixed =
                static_cast<unsigned>(x / 2) * 73856093U ^ static_cast<unsigned>((y + lines) / 2) * 19349663U;
            const bool isTyped = y / 16 == 10 && x < letters * 8;
            row[x] = (isTyped ? x % 8 < 5 : (mixed >> 13 & 7U) == 0) ? 30 : 235;
        }
    }
    for (int y = 0; y < planes.height / 2; ++y) {
        std::memset(planes.cb + y * planes.chromaStride, 128, static_cast<std::size_t>(planes.width) / 2);
        std::memset(planes.cr + y * planes.chromaStride, 128, static_cast<std::size_t>(planes.width) / 2);
    }
}

// Scrolls, types and rests, as a screen does; a seek may take little, so that key pictures come in all of it.
TEST(LiveVideoSettings, ARecordingIsTheSameFromEachKeyPictureOn) {
    const TemporaryFolder folder;
    media::VideoSettings settings = screenVideoSettings(320, 240, 30, 2'000'000);
    settings.preset = "ultrafast";
    settings.maxSeekSeconds = 0.002;
    media::AssetWriter writer(folder / "source.mov", media::MovieContainer::quickTime);
    writer.setMovieFragmentInterval(kFragmentInterval);
    media::VideoWriterInput& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    std::size_t count = 0;
    for (int frame = 0; frame < 300; ++frame) {
        const int lines = 4 * std::min(frame, 120);
        const int letters = std::max(0, frame - 120) / 4 % 30;
        const bool isNew = frame <= 120 || frame % 4 == 0;
        if (!isNew && frame % 30 != 0) continue;
        while (!input.isReadyForMoreMediaData()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ++count;
        if (frame >= 240) {
            input.appendRepeat({frame * 2000, kLiveTimescale});
            continue;
        }
        auto picture = input.pool().makePlanar();
        paintPage(picture->destination(), lines, letters);
        ASSERT_TRUE(input.append(std::move(picture), {frame * 2000, kLiveTimescale}));
    }
    input.markAsFinished();
    ASSERT_TRUE(writer.finishWriting());

    const auto asset = std::make_shared<const media::Asset>(folder / "source.mov");
    const int track = asset->tracks().at(0).id;
    const auto samples = media::sampleIndex(*asset, track);
    ASSERT_EQ(samples.size(), count);
    std::vector<std::vector<std::uint8_t>> whole;
    std::size_t keys = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (!samples[i].isKey) continue;
        ++keys;
        media::AssetReader reader(asset);
        reader.setTimeRange({samples[i].decodeTime, MediaTime{20, 1}});
        auto& output = reader.addVideoOutput(track, media::PictureFormat::planar);
        ASSERT_TRUE(reader.startReading());
        std::size_t next = i;
        for (; const auto sample = output.copyNextSample(); ++next) {
            const imaging::YuvPicture shown = sample->planar();
            std::vector<std::uint8_t> luma;
            for (int y = 0; y < shown.height; ++y) {
                const std::uint8_t* const row = shown.luma.samples + y * shown.luma.stride;
                luma.insert(luma.end(), row, row + shown.width);
            }
            if (i == 0)
                whole.push_back(std::move(luma));
            else
                ASSERT_EQ(luma, whole[next]) << "from " << i << " on, picture " << next;
        }
        EXPECT_EQ(reader.status(), media::AssetReader::Status::completed);
        EXPECT_EQ(next, samples.size());
    }
    EXPECT_GT(keys, 3u);
    EXPECT_LT(keys, count / 15);
}

}  // namespace
}  // namespace lumivastor::capture
