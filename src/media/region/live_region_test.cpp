// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include "media/region/region_video_encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {
namespace {

TEST(RegionPictures, AreSwitchedOffByTheEnvironment) {
    EXPECT_TRUE(regionPicturesAreOn(nullptr));
    EXPECT_TRUE(regionPicturesAreOn(""));
    EXPECT_TRUE(regionPicturesAreOn("on"));
    EXPECT_FALSE(regionPicturesAreOn("off"));
}

// A live stream as a recording of somebody who types has it: a page of specks on which a letter appears now and then.
constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr int kFps = 60;
constexpr int kTimescale = 60000;
constexpr int kLettersASecond = 10;

VideoSettings liveSettings() {
    VideoSettings settings;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.frameRate = kFps;
    settings.timescale = kTimescale;
    settings.averageBitRate = 800'000;  // two seconds of it hold few key pictures of this page
    settings.maxKeyFrameInterval = 2 * kLettersASecond;
    settings.constantQuality = 20;
    settings.lowLatency = true;
    settings.preset = "ultrafast";
    return settings;
}

void paintPage(const imaging::YuvDestination& planes, int letters) {
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const unsigned mixed =
                (static_cast<unsigned>(x / 2) * 73856093U) ^ (static_cast<unsigned>(y / 2) * 19349663U);
            const bool isTyped = y / 16 == 10 && x < letters * 8 % kWidth;
            const bool isSpeck = (mixed >> 13 & 15U) == 0;
            planes.luma[y * planes.lumaStride + x] = isTyped != isSpeck ? 30 : 235;
        }
    }
    for (int y = 0; y < kHeight / 2; ++y) {
        std::memset(planes.cb + y * planes.chromaStride, 128, kWidth / 2);
        std::memset(planes.cr + y * planes.chromaStride, 128, kWidth / 2);
    }
}

// A minute and a half. The bytes of each key picture, and of each second.
struct Sizes {
    std::vector<int> keys;
    std::map<std::int64_t, int> seconds;
};

Sizes encodeTyping(PictureEncoder& encoder) {
    Sizes sizes;
    imaging::PicturePool pool(kWidth, kHeight, {});
    const PacketConsumer consume = [&](AVPacket& packet) {
        if ((packet.flags & AV_PKT_FLAG_KEY) != 0) sizes.keys.push_back(packet.size);
        sizes.seconds[packet.pts / kTimescale] += packet.size;
    };
    for (int i = 0; i < 90 * kLettersASecond; ++i) {
        auto picture = pool.makePlanar();
        paintPage(picture->destination(), i);
        encoder.encode(picture, std::nullopt, std::int64_t{i} * kTimescale / kLettersASecond, consume);
    }
    encoder.finish(consume);
    return sizes;
}

TEST(LiveRegionPictures, KeyPicturesStaySharpHoweverLongOnlyLittleChanges) {
    RegionVideoEncoder encoder(liveSettings(), {});
    ASSERT_EQ(encoder.obstacle(), "");
    const Sizes sizes = encodeTyping(encoder);
    ASSERT_EQ(sizes.keys.size(), 45u);
    EXPECT_LT(encoder.counts().encoderPictures, 150);
    // The encoder gets one picture of six. If it counted pictures for time, it would take the rate for exceeded.
    // The first one is larger, because nothing has been spent yet.
    const auto [least, most] = std::minmax_element(sizes.keys.begin() + 1, sizes.keys.end());
    EXPECT_GT(*least, *most * 3 / 4);
    int bytes = 0;
    for (const auto& [second, count] : sizes.seconds) bytes += count;
    EXPECT_LT(bytes, 90 * 800'000 / 8);
}

}  // namespace
}  // namespace lumivastor::media
