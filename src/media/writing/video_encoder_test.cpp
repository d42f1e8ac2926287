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

TEST_P(EitherStream, KeyPicturesComeByTheClockWherePicturesAreRare) {
    VideoSettings made = settings();
    made.maxKeyFrameSeconds = 2;
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
    std::int64_t lastKey = 0;
    for (const Encoded& packet : packets.all) {
        EXPECT_TRUE(packet.isKey || packet.ticks - lastKey < 1200) << packet.ticks;
        if (packet.isKey) lastKey = packet.ticks;
    }
    EXPECT_TRUE(packets.all.front().isKey);
}

TEST_P(EitherStream, RepeatsAreKeyPicturesByTheClockToo) {
    VideoSettings made = settings();
    made.maxKeyFrameSeconds = 2;
    made.lowLatency = true;
    VideoEncoder encoder(made);
    imaging::PicturePool pool(made.width, made.height, {});
    Packets packets;
    encoder.encode(numbered(pool, 7), std::nullopt, 0, packets.consumer());
    for (int i = 1; i < 30; ++i) encoder.repeat(i * 120, packets.consumer());
    encoder.finish(packets.consumer());
    ASSERT_EQ(packets.all.size(), 30u);
    for (std::size_t i = 0; i < 30; ++i) {
        EXPECT_EQ(packets.all[i].ticks, static_cast<std::int64_t>(i) * 120);
        EXPECT_EQ(packets.all[i].isKey, i % 10 == 0) << i;
    }
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
