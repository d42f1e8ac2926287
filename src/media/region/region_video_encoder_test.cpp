// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_video_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <future>
#include <random>
#include <string>
#include <vector>

#include "media/reading/asset_reader.h"
#include "media/writing/asset_writer.h"
#include "support/h264_decoders.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {
namespace {

VideoSettings screenSettings() {
    VideoSettings settings;
    settings.width = 320;
    settings.height = 240;
    settings.averageBitRate = 3000000;
    settings.frameRate = 60;
    settings.timescale = 600;
    settings.maxKeyFrameInterval = 60;
    settings.constantQuality = 10;
    return settings;
}

// A page of specks as hard to code as text, over which a square goes; further down words appear. Every so often it is
// another page.
void paintScreen(const imaging::YuvDestination& planes, int number) {
    const unsigned page = number % 100 >= 70 ? 83492791U : 0;
    const auto luma = [number, page](int x, int y) {
        const unsigned mixed =
            static_cast<unsigned>(x / 2) * 73856093U ^ static_cast<unsigned>(y / 2) * 19349663U ^ page * 3;
        const int left = 10 + 3 * (number % 80);
        if (x >= left && x < left + 14 && y >= 60 && y < 80) return 20;
        if (y > 150 && y < 170 && x > 8 * (number / 5)) return 235;
        return y / 14 % 2 == 0 && (mixed >> 13 & 3U) == 0 ? 30 : 235;
    };
    for (int y = 0; y < planes.height; ++y) {
        for (int x = 0; x < planes.width; ++x) {
            planes.luma[y * planes.lumaStride + x] = static_cast<std::uint8_t>(luma(x, y));
        }
    }
    for (int y = 0; y < (planes.height + 1) / 2; ++y) {
        std::fill_n(planes.cb + y * planes.chromaStride, (planes.width + 1) / 2, std::uint8_t{120});
        std::fill_n(planes.cr + y * planes.chromaStride, (planes.width + 1) / 2, std::uint8_t{136});
    }
}

struct Written {
    std::vector<std::uint8_t> parameterSets;
    std::vector<std::vector<std::uint8_t>> accessUnits;
    std::vector<std::int64_t> ticks;
    std::vector<bool> isKey;
};

Written write(PictureEncoder& encoder, const VideoSettings& settings, int pictures) {
    Written written;
    const auto parameters = encoder.parameters();
    written.parameterSets.assign(parameters->extradata, parameters->extradata + parameters->extradata_size);
    const PacketConsumer consume = [&written](AVPacket& packet) {
        written.accessUnits.emplace_back(packet.data, packet.data + packet.size);
        written.ticks.push_back(packet.pts);
        written.isKey.push_back((packet.flags & AV_PKT_FLAG_KEY) != 0);
    };
    imaging::PicturePool pool(settings.width, settings.height, {});
    for (int i = 0; i < pictures; ++i) {
        if (i % 7 == 3) {
            encoder.repeat(i * 10, consume);
            continue;
        }
        auto picture = pool.makePlanar();
        paintScreen(picture->destination(), i);
        encoder.encode(picture, std::nullopt, i * 10, consume);
    }
    encoder.finish(consume);
    return written;
}

// Luma PSNR of the shown part.
double psnr(const PlainPicture& shown, const imaging::YuvDestination& painted) {
    double squares = 0;
    for (int y = 0; y < painted.height; ++y) {
        for (int x = 0; x < painted.width; ++x) {
            squares += std::pow(shown.row(0, y)[x] - painted.luma[y * painted.lumaStride + x], 2);
        }
    }
    return squares == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * painted.width * painted.height / squares);
}

// Both decoders show the same pictures, all of them sharp.
void expectSharp(const Written& written, const VideoSettings& settings, double least) {
    std::vector<PlainPicture> shown;
    const auto ffmpeg = makeFfmpegDecoder(written.parameterSets, 2,
                                          [&shown](const PlainPicture& picture) { shown.push_back(picture); });
    std::size_t next = 0;
    int different = 0;
    for (const auto& unit : written.accessUnits) ffmpeg->decode(unit);
    ffmpeg->finish();
    EXPECT_EQ(ffmpeg->complaints(), 0);
    const auto openH264 = makeOpenH264Decoder(written.parameterSets, [&](const PlainPicture& picture) {
        if (next >= shown.size() || !(shown[next] == picture)) ++different;
        ++next;
    });
    for (const auto& unit : written.accessUnits) openH264->decode(unit);
    openH264->finish();
    EXPECT_EQ(openH264->complaints(), 0);
    EXPECT_EQ(different, 0);
    EXPECT_EQ(next, shown.size());
    ASSERT_EQ(shown.size(), written.accessUnits.size());
    imaging::PlanarBuffer painted(settings.width, settings.height, {});
    double worst = 99;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const int number = static_cast<int>(i);
        paintScreen(painted.destination(), number % 7 == 3 ? number - 1 : number);
        worst = std::min(worst, psnr(shown[i], painted.destination()));
    }
    EXPECT_GT(worst, least);
}

TEST(RegionVideoEncoder, SmallChangesAreRegionPictures) {
    VideoSettings settings = screenSettings();
    for (const bool lowLatency : {false, true}) {
        for (const char* preset : {"superfast", "ultrafast"}) {
            SCOPED_TRACE(preset);
            settings.lowLatency = lowLatency;
            settings.preset = preset;
            RegionVideoEncoder encoder(settings, {});
            EXPECT_EQ(encoder.obstacle(), "");
            const Written written = write(encoder, settings, 200);
            ASSERT_EQ(written.accessUnits.size(), 200u);
            for (std::size_t i = 0; i < 200; ++i) {
                EXPECT_EQ(written.ticks[i], static_cast<std::int64_t>(i) * 10);
                // The encoder may begin a page with a key picture of its own.
                const bool isOtherPage = i == 70 || i == 100 || i == 170;
                EXPECT_TRUE(isOtherPage || written.isKey[i] == (i % 60 == 0)) << i;
            }
            // Four key pictures, and three other pages with one picture each to settle.
            EXPECT_EQ(encoder.counts().encoderPictures, 10);
            EXPECT_EQ(encoder.counts().regionPictures, 190);
            EXPECT_GT(encoder.counts().macroblocks.base, 30);  // where the square was
            expectSharp(written, settings, 38);
        }
    }
}

TEST(RegionVideoEncoder, OddSizesAndOtherPoliciesAreSharpToo) {
    std::mt19937 random(6);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        VideoSettings settings = screenSettings();
        settings.width = 120 + static_cast<int>(random() % 200);
        settings.height = 180 + static_cast<int>(random() % 60);
        settings.maxKeyFrameInterval = 10 + static_cast<int>(random() % 100);
        settings.lowLatency = random() % 2 == 0;
        RegionVideoSettings region;
        region.policy.settlingPictures = static_cast<int>(random() % 4);
        region.policy.largestShare = random() % 2 == 0 ? 0.03 : 0.3;
        if (random() % 2 == 0) region.policy.averageBytes = 150;
        region.policy.restAfterGivingUp = static_cast<int>(random() % 5);
        region.chromaQpIndexOffset = -static_cast<int>(random() % 6);
        RegionVideoEncoder encoder(settings, region);
        const Written written = write(encoder, settings, 120);
        EXPECT_EQ(encoder.counts().encoderPictures + encoder.counts().regionPictures, 120);
        EXPECT_GT(encoder.counts().regionPictures, 0);
        expectSharp(written, settings, 34);
    }
}

// A page of specks with a tint, `lines` of it gone at the top. Chroma is the mean of two lines, whichever they are.
void paintTintedPage(const imaging::YuvDestination& planes, int lines) {
    const auto isInk = [lines](int x, int y) {
        const std::uint32_t mixed =
            (static_cast<std::uint32_t>(y + lines) / 2 * 512 + static_cast<std::uint32_t>(x) / 2) * 2654435761U;
        return (y + lines) / 14 % 2 == 0 && (mixed ^ mixed >> 15) * 2246822519U >> 30 == 0;
    };
    for (int y = 0; y < planes.height; ++y) {
        for (int x = 0; x < planes.width; ++x) planes.luma[y * planes.lumaStride + x] = isInk(x, y) ? 30 : 235;
    }
    for (int y = 0; y < planes.height / 2; ++y) {
        for (int x = 0; x < planes.width / 2; ++x) {
            const int ink = (isInk(2 * x, 2 * y) ? 1 : 0) + (isInk(2 * x, 2 * y + 1) ? 1 : 0);
            planes.cb[y * planes.chromaStride + x] = static_cast<std::uint8_t>(128 + 4 * ink);
            planes.cr[y * planes.chromaStride + x] = static_cast<std::uint8_t>(128 - 2 * ink);
        }
    }
}

TEST(RegionVideoEncoder, AScrollOfFaintColoursIsOursAndIsMendedWhenItEnds) {
    VideoSettings settings = screenSettings();
    settings.maxKeyFrameInterval = 1000;
    RegionVideoSettings region;
    region.policy.patience = 10;
    region.policy.largestShare = 0.3;
    RegionVideoEncoder encoder(settings, region);
    constexpr int kScrolled = 60;
    constexpr int kPictures = 90;
    std::vector<PlainPicture> shown;
    const auto parameters = encoder.parameters();
    const auto decoder =
        makeFfmpegDecoder({parameters->extradata, static_cast<std::size_t>(parameters->extradata_size)}, 1,
                          [&](const PlainPicture& picture) { shown.push_back(picture); });
    const PacketConsumer decode = [&](AVPacket& packet) {
        decoder->decode({packet.data, static_cast<std::size_t>(packet.size)});
    };
    imaging::PicturePool pool(settings.width, settings.height, {});
    const auto linesAt = [](int number) { return 3 * (number < kScrolled ? number : kScrolled); };
    for (int i = 0; i < kPictures; ++i) {
        const auto picture = pool.makePlanar();
        paintTintedPage(picture->destination(), linesAt(i));
        encoder.encode(picture, std::nullopt, i * 10, decode);
    }
    encoder.finish(decode);
    decoder->finish();
    // The key picture, and the one that mends.
    EXPECT_EQ(encoder.counts().encoderPictures, 2);
    ASSERT_EQ(shown.size(), static_cast<std::size_t>(kPictures));
    imaging::PlanarBuffer painted(settings.width, settings.height, {});
    // Of the colours: the mean error, and the greatest.
    const auto errors = [&](const PlainPicture& picture) {
        double sum = 0;
        int worst = 0;
        const imaging::YuvDestination& planes = painted.destination();
        for (int y = 0; y < settings.height / 2; ++y) {
            for (int x = 0; x < settings.width / 2; ++x) {
                const int cb = std::abs(picture.row(1, y)[x] - planes.cb[y * planes.chromaStride + x]);
                const int cr = std::abs(picture.row(2, y)[x] - planes.cr[y * planes.chromaStride + x]);
                sum += cb + cr;
                worst = std::max({worst, cb, cr});
            }
        }
        return std::pair(sum / (settings.width * settings.height / 2.0), worst);
    };
    std::vector<double> means;
    for (int i = 0; i < kPictures; ++i) {
        const PlainPicture& picture = shown[static_cast<std::size_t>(i)];
        paintTintedPage(painted.destination(), linesAt(i));
        EXPECT_GT(psnr(picture, painted.destination()), 38) << i;
        const auto [mean, worst] = errors(picture);
        EXPECT_LE(worst, 12) << i;
        means.push_back(mean);
    }
    // Of a range of eight.
    EXPECT_LT(*std::max_element(means.begin(), means.end()), 4);
    EXPECT_LT(means.back(), means[kScrolled] * 0.7) << "mended";
}

TEST(RegionVideoEncoder, SwitchedOffIsTheEncoderItself) {
    const VideoSettings settings = screenSettings();
    RegionVideoSettings off;
    off.isOn = false;
    const auto made = regionEncoderMaker(off)(settings);
    VideoEncoder plain(settings);
    const Written a = write(*made, settings, 90);
    const Written b = write(plain, settings, 90);
    EXPECT_EQ(a.parameterSets, b.parameterSets);
    EXPECT_EQ(a.accessUnits, b.accessUnits);
    EXPECT_EQ(dynamic_cast<RegionVideoEncoder*>(made.get()), nullptr);
    EXPECT_NE(dynamic_cast<RegionVideoEncoder*>(regionEncoderMaker({})(settings).get()), nullptr);
    VideoSettings hevc = settings;
    hevc.codec = VideoCodec::hevc;
    hevc.preset = "ultrafast";
    EXPECT_EQ(dynamic_cast<RegionVideoEncoder*>(regionEncoderMaker({})(hevc).get()), nullptr);
}

TEST(RegionVideoEncoder, KeyPicturesComeByWhatASeekDecodes) {
    VideoSettings settings = screenSettings();
    settings.maxKeyFrameInterval = 1000;
    settings.maxSeekSeconds = 0.002;
    settings.lowLatency = true;
    RegionVideoEncoder encoder(settings, {});
    const Written written = write(encoder, settings, 300);
    const DecodingCost cost = liveH264Cost();
    constexpr int kMacroblocks = 300;
    double least = 0;  // as if nothing changed
    double most = 0;   // as if all did
    int sinceKey = 0;
    for (std::size_t i = 0; i < written.isKey.size(); ++i) {
        if (written.isKey[i]) {
            // Another page is a key picture early, because it is as large in any case.
            const bool isOtherPage = i % 100 == 70 || i % 100 == 0;
            EXPECT_TRUE(isOtherPage || most >= settings.maxSeekSeconds) << i;
            least = most = 0;
            sinceKey = 0;
        } else if (++sinceKey >= KeyDistance::kLeastPictures) {
            EXPECT_LT(least, settings.maxSeekSeconds) << i;
        }
        const auto bytes = static_cast<double>(written.accessUnits[i].size());
        const double copied = kMacroblocks * cost.macroblock + bytes * (written.isKey[i] ? cost.keyByte : cost.byte);
        least += copied;
        most += copied + kMacroblocks * cost.changedMacroblock;
    }
    EXPECT_GT(std::count(written.isKey.begin(), written.isKey.end(), true), 3);
    expectSharp(written, settings, 34);
}

TEST(RegionVideoEncoder, AStillScreenHasOneKeyPictureWhereItHadOneEveryTenSeconds) {
    VideoSettings settings = screenSettings();
    settings.maxKeyFrameInterval = 120;
    settings.maxSeekSeconds = 0.08;
    settings.keySecondsAfterChange = 10;
    settings.lowLatency = true;
    RegionVideoEncoder encoder(settings, {});
    std::vector<std::int64_t> keys;
    const PacketConsumer consume = [&keys](AVPacket& packet) {
        if ((packet.flags & AV_PKT_FLAG_KEY) != 0) keys.push_back(packet.pts / 600);
    };
    imaging::PicturePool pool(settings.width, settings.height, {});
    auto picture = pool.makePlanar();
    paintScreen(picture->destination(), 0);
    encoder.encode(picture, std::nullopt, 0, consume);
    for (int second = 1; second < 100; ++second) {
        if (second != 40) {
            encoder.repeat(second * 600, consume);
            continue;
        }
        picture = pool.makePlanar();
        paintScreen(picture->destination(), 5);
        encoder.encode(picture, std::nullopt, second * 600, consume);
    }
    encoder.finish(consume);
    EXPECT_EQ(keys, (std::vector<std::int64_t>{0, 50})) << "and one of what stands still behind a change";
}

// Through the writer, with seeks.
TEST(RegionVideoEncoder, AMovieShowsTheRightPictureWhereverItBegins) {
    const TemporaryFolder folder;
    VideoSettings settings = screenSettings();
    settings.maxKeyFrameInterval = 40;
    settings.make = regionEncoderMaker({});
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    auto& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    SerialQueue queue("test.video");
    std::promise<void> done;
    int next = 0;
    input.requestMediaDataWhenReady(queue, [&] {
        for (; input.isReadyForMoreMediaData(); ++next) {
            if (next == 150) {
                input.markAsFinished();
                done.set_value();
                return;
            }
            auto picture = input.pool().makePlanar();
            paintScreen(picture->destination(), next);
            EXPECT_TRUE(input.append(std::move(picture), {next * 10, 600}));
        }
    });
    done.get_future().wait();
    ASSERT_TRUE(writer.finishWriting()) << (writer.error() ? writer.error()->message() : "");

    const auto asset = std::make_shared<const Asset>(folder / "out.mp4");
    std::vector<PlainPicture> whole;
    for (int start = 0; start < 150; start += 11) {
        AssetReader reader(asset);
        reader.setTimeRange({{start * 10, 600}, {1500, 600}});
        auto& output = reader.addVideoOutput(asset->tracks().at(0).id, PictureFormat::planar);
        ASSERT_TRUE(reader.startReading());
        auto index = static_cast<std::size_t>(start);
        while (const auto sample = output.copyNextSample()) {
            const PlainPicture picture(sample->planar());
            if (start == 0) {
                whole.push_back(picture);
            } else {
                ASSERT_LT(index, whole.size());
                EXPECT_EQ(picture, whole[index]) << start << " " << index;
            }
            ++index;
        }
        EXPECT_EQ(reader.status(), AssetReader::Status::completed);
        EXPECT_EQ(index, 150u);
    }
}

}  // namespace
}  // namespace lumivastor::media
