// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "media/reading/asset_reader.h"
#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace lumivastor::media {
namespace {

class EitherStream : public testing::TestWithParam<VideoCodec> {
  protected:
    VideoSettings settings() const {
        VideoSettings made;
        made.width = 128;
        made.height = 96;
        made.frameRate = 30;
        made.averageBitRate = 1000000;
        made.maxKeyFrameInterval = 60;
        made.codec = GetParam();
        made.preset = "ultrafast";
        return made;
    }
};

INSTANTIATE_TEST_SUITE_P(VideoEncoder, EitherStream, testing::Values(VideoCodec::h264, VideoCodec::hevc),
                         [](const auto& parameter) { return parameter.param == VideoCodec::h264 ? "H264" : "Hevc"; });

struct Encoded {
    std::int64_t ticks;
    bool isKey;
    int bytes;
};

class Packets {
  public:
    PacketConsumer consumer() {
        return [this](AVPacket& packet) {
            all.push_back({packet.pts, (packet.flags & AV_PKT_FLAG_KEY) != 0, packet.size});
        };
    }
    std::vector<Encoded> all;
};

std::shared_ptr<imaging::PlanarBuffer> numbered(imaging::PicturePool& pool, int number) {
    auto picture = pool.makePlanar();
    paintTestPicture(number, false, picture->destination());
    return picture;
}

TEST_P(EitherStream, ComesBackAsItWasFromAQuickTimeMovie) {
    const TemporaryFolder folder;
    AssetWriter writer(folder / "out.mov", MovieContainer::quickTime);
    auto& input = writer.addVideoInput(settings());
    ASSERT_TRUE(writer.startWriting()) << writer.error()->message();
    writer.startSession({});
    for (int i = 0; i < 90; ++i) {
        while (!input.isReadyForMoreMediaData()) std::this_thread::yield();
        ASSERT_TRUE(input.append(numbered(input.pool(), i), MediaTime{i * 20, 600}));
    }
    ASSERT_TRUE(writer.finishWriting()) << writer.error()->message();
    const auto decoded = decodeTestMovie(folder / "out.mov");
    ASSERT_EQ(decoded.size(), 90u);
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        EXPECT_EQ(testPictureNumber(decoded[i].picture), static_cast<int>(i));
        EXPECT_NEAR(decoded[i].seconds, static_cast<double>(i) / 30, 1e-9);
    }
    const AssetTrack track = Asset(folder / "out.mov").tracks().at(0);
    const bool isHevc = GetParam() == VideoCodec::hevc;
    EXPECT_EQ(track.codec, isHevc ? "hevc" : "h264");
    EXPECT_TRUE(track.colourTagged);
    EXPECT_EQ(track.encoding, imaging::YuvEncoding{});
    EXPECT_NE(folder.read("out.mov").find(isHevc ? "hvc1" : "avc1"), std::string::npos);
}

TEST_P(EitherStream, WithoutDelayEveryPictureComesOutAtOnce) {
    VideoSettings made = settings();
    made.lowLatency = true;
    VideoEncoder encoder(made);
    imaging::PicturePool pool(made.width, made.height, {});
    Packets packets;
    for (int i = 0; i < 20; ++i) {
        encoder.encode(numbered(pool, i), std::nullopt, i * 600, packets.consumer());
        ASSERT_EQ(packets.all.size(), static_cast<std::size_t>(i) + 1);
        EXPECT_EQ(packets.all.back().ticks, i * 600);
    }
}

TEST_P(EitherStream, ALargeChangeHasAKeyPictureInTimeWherePicturesAreRare) {
    VideoSettings made = settings();
    made.keySecondsAfterChange = 2;
    made.lowLatency = true;
    VideoEncoder encoder(made);
    imaging::PicturePool pool(made.width, made.height, {});
    Packets packets;
    // Six pictures a second, then one a second, then a minute of nothing.
    std::vector<std::int64_t> ticks;
    for (int i = 0; i < 30; ++i) ticks.push_back(i * 100);
    for (int i = 0; i < 10; ++i) ticks.push_back(3000 + i * 600);
    ticks.push_back(60000);
    for (std::size_t i = 0; i < ticks.size(); ++i) {
        encoder.encode(numbered(pool, static_cast<int>(i)), std::nullopt, ticks[i], packets.consumer());
    }
    encoder.finish(packets.consumer());
    ASSERT_EQ(packets.all.size(), ticks.size());
    EXPECT_TRUE(packets.all.front().isKey);
    std::int64_t firstChange = 0;
    for (std::size_t i = 1; i < packets.all.size(); ++i) {
        const bool isSecond = packets.all[i - 1].isKey;
        if (isSecond) firstChange = ticks[i];
        EXPECT_EQ(packets.all[i].isKey, ticks[i] - firstChange >= 1200) << ticks[i];
    }
    EXPECT_TRUE(packets.all.back().isKey);
}

TEST_P(EitherStream, RepeatsNeedOneKeyPictureAtMost) {
    VideoSettings made = settings();
    made.keySecondsAfterChange = 2;
    made.maxSeekSeconds = 1;
    made.lowLatency = true;
    VideoEncoder encoder(made);
    imaging::PicturePool pool(made.width, made.height, {});
    Packets packets;
    imaging::DamageArea little;
    little.add({0, 0, 16, 16});
    encoder.encode(numbered(pool, 7), std::nullopt, 0, packets.consumer());
    for (int i = 1; i < 20; ++i) encoder.repeat(i * 120, packets.consumer());
    encoder.encode(numbered(pool, 7), little, 20 * 120, packets.consumer());
    encoder.encode(numbered(pool, 7), imaging::DamageArea(), 21 * 120, packets.consumer());
    for (int i = 22; i < 50; ++i) encoder.repeat(i * 120, packets.consumer());
    encoder.finish(packets.consumer());
    ASSERT_EQ(packets.all.size(), 50u);
    for (std::size_t i = 0; i < 50; ++i) {
        EXPECT_EQ(packets.all[i].ticks, static_cast<std::int64_t>(i) * 120);
        // The first picture, and what has stood for two seconds behind the change.
        EXPECT_EQ(packets.all[i].isKey, i == 0 || i == 30) << i;
    }
}

TEST_P(EitherStream, KeyPicturesComeByWhatASeekDecodes) {
    VideoSettings made = settings();
    made.maxSeekSeconds = GetParam() == VideoCodec::hevc ? 0.002 : 0.0003;
    made.maxKeyFrameInterval = 1000;
    made.lowLatency = true;
    VideoEncoder encoder(made);
    imaging::PicturePool pool(made.width, made.height, {});
    Packets packets;
    for (int i = 0; i < 300; ++i) {
        if (i % 100 < 50) {
            encoder.encode(numbered(pool, i), std::nullopt, i * 20, packets.consumer());
        } else {
            encoder.repeat(i * 20, packets.consumer());
        }
    }
    encoder.finish(packets.consumer());
    ASSERT_EQ(packets.all.size(), 300u);
    const int macroblocks = (made.width / 16) * (made.height / 16);
    const DecodingCost cost = GetParam() == VideoCodec::hevc ? hevcCost() : liveH264Cost();
    double seconds = 0;
    int sinceKey = 0;
    int keys = 0;
    for (std::size_t i = 0; i < 300; ++i) {
        const Encoded& packet = packets.all[i];
        if (packet.isKey) {
            ++keys;
            EXPECT_TRUE(i == 0 || seconds > made.maxSeekSeconds * 0.99) << i;
            seconds = 0;
            sinceKey = 0;
        } else if (++sinceKey >= KeyDistance::kLeastPictures) {
            EXPECT_LT(seconds, made.maxSeekSeconds * 1.01) << i;
        }
        const bool isChange = i % 100 < 50 && !packet.isKey;
        seconds += macroblocks * (cost.macroblock + (isChange ? cost.changedMacroblock : 0)) +
                   packet.bytes * (packet.isKey ? cost.keyByte : cost.byte);
    }
    EXPECT_GT(keys, 3);
}

TEST_P(EitherStream, TheBitRateIsForPicturesASecondNotTicks) {
    VideoSettings made = settings();
    made.width = 320;
    made.height = 240;
    made.averageBitRate = 1200000;
    VideoEncoder encoder(made);
    imaging::PicturePool pool(made.width, made.height, {});
    Packets packets;
    std::mt19937 random(5);
    for (int i = 0; i < 150; ++i) {
        const auto picture = numbered(pool, i);
        const imaging::YuvDestination& planes = picture->destination();
        // Noise takes as many bits as it is given.
        for (int y = 0; y < 240; ++y) {
            for (int x = 0; x < 320; ++x) {
                planes.luma[y * planes.lumaStride + x] = static_cast<std::uint8_t>(random() % 200 + 20);
            }
        }
        encoder.encode(picture, std::nullopt, i * 20, packets.consumer());
    }
    encoder.finish(packets.consumer());
    double bits = 0;
    for (const Encoded& packet : packets.all) bits += packet.bytes * 8;
    EXPECT_GT(bits / 5, 0.6 * 1200000);
    EXPECT_LT(bits / 5, 1.8 * 1200000);
}

TEST_P(EitherStream, AnEncoderThatIsNotThereIsSaid) {
    VideoSettings made = settings();
    made.encoder = "no_such_encoder";
    try {
        const VideoEncoder encoder(made);
        ADD_FAILURE() << "an encoder that does not exist was opened";
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(),
                  "Der Video-Encoder konnte nicht geöffnet werden: Der Encoder fehlt auf diesem Rechner.");
    }
}

}  // namespace
}  // namespace lumivastor::media
