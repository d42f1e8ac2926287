// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/repeated_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <future>
#include <random>
#include <vector>

#include "media/reading/asset_reader.h"
#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace lumivastor::media {
namespace {

TEST(H264Bits, WhatIsWrittenIsReadBack) {
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::uint32_t> values;
        BitWriter writer;
        for (int i = 0; i < 40; ++i) {
            values.push_back(static_cast<std::uint32_t>(random()) >> random() % 32);
            if (values.back() == 0xffffffffU) values.back() = 0;
            writer.unsignedGolomb(values.back());
            writer.signedGolomb(static_cast<std::int32_t>(values.back() >> 2) * (i % 2 == 0 ? 1 : -1));
            writer.bits(values.back() & 0x7f, 7);
        }
        writer.finish();
        BitReader reader(writer.bytes());
        for (std::size_t i = 0; i < values.size(); ++i) {
            ASSERT_EQ(reader.unsignedGolomb(), values[i]);
            ASSERT_EQ(reader.signedGolomb(), static_cast<std::int32_t>(values[i] >> 2) * (i % 2 == 0 ? 1 : -1));
            ASSERT_EQ(reader.bits(7), values[i] & 0x7f);
        }
        EXPECT_FALSE(reader.overran());
        reader.bits(32);
        EXPECT_TRUE(reader.overran());
    }
}

TEST(H264Bits, WhatIsTakenBackIsAsIfNeverWritten) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        BitWriter kept;
        BitWriter wavering;
        for (int i = 0; i < 50; ++i) {
            const BitWriter::Mark mark = wavering.mark();
            for (unsigned wrong = static_cast<unsigned>(random()) % 20; wrong > 0; --wrong) wavering.bits(0x1b, 5);
            wavering.rewind(mark);
            const int count = static_cast<int>(random() % 33);
            const auto value = static_cast<std::uint32_t>((std::uint64_t{random()} << 1 & 0xffffffffU) >> (32 - count));
            kept.bits(value, count);
            wavering.bits(value, count);
            ASSERT_EQ(kept.position(), wavering.position());
        }
        const auto a = kept.bytes();
        const auto b = wavering.bytes();
        EXPECT_TRUE(std::equal(a.begin(), a.end(), b.begin(), b.end()));
        EXPECT_EQ(a.size(), (kept.position() + 7) / 8);
    }
}

TEST(H264Bits, AnyRangeOfBitsCanBeAppendedAnywhere) {
    std::mt19937 random(8);
    std::vector<std::uint8_t> source(40);
    for (auto& byte : source) byte = static_cast<std::uint8_t>(random());
    for (std::size_t before = 0; before < 40; before += 3) {
        for (std::size_t from = 0; from < 70; ++from) {
            const std::size_t to = from + random() % (source.size() * 8 - from + 1);
            BitWriter writer;
            for (std::size_t i = 0; i < before; ++i) writer.flag(true);
            writer.append(source, from, to);
            ASSERT_EQ(writer.position(), before + to - from);
            BitReader written(writer.bytes());
            BitReader expected(source);
            for (std::size_t i = 0; i < before; ++i) ASSERT_TRUE(written.flag());
            for (std::size_t i = 0; i < from; ++i) expected.flag();
            for (std::size_t i = from; i < to; ++i) ASSERT_EQ(written.flag(), expected.flag()) << from << " " << i;
        }
    }
}

TEST(H264Bits, EscapingHidesStartCodesAndIsUndone) {
    std::mt19937 random(6);
    for (int round = 0; round < 500; ++round) {
        std::vector<std::uint8_t> content;
        for (int i = 0; i < 60; ++i) content.push_back(static_cast<std::uint8_t>(random() % 5));
        content.push_back(0x80);
        const auto unit = escaped(content);
        EXPECT_EQ(unescaped(unit), content);
        for (std::size_t i = 0; i + 2 < unit.size(); ++i) {
            EXPECT_FALSE(unit[i] == 0 && unit[i + 1] == 0 && unit[i + 2] < 3);
        }
        std::vector<std::uint8_t> stream;
        appendUnit(stream, unit);
        appendUnit(stream, unit);
        const auto units = unitsOf(stream);
        ASSERT_EQ(units.size(), 2u);
        EXPECT_TRUE(std::equal(units[1].begin(), units[1].end(), unit.begin(), unit.end()));
    }
}

TEST(RepeatedPictures, StreamsThatDoNotAllowThemAreTurnedDown) {
    EXPECT_FALSE(RepeatedPictures::make({}));
    std::mt19937 random(9);
    for (int round = 0; round < 1000; ++round) {
        std::vector<std::uint8_t> noise;
        for (int i = 0; i < 40; ++i) noise.push_back(static_cast<std::uint8_t>(random()));
        std::vector<std::uint8_t> stream;
        noise[0] = 0x67;
        appendUnit(stream, noise);
        noise[0] = 0x68;
        appendUnit(stream, noise);
        const auto stage = RepeatedPictures::make(stream);
        if (stage) {
            EXPECT_GT(stage->parameterSets().size(), stream.size());
        }
    }
}

struct Written {
    std::vector<int> expected;  // the number that each picture shows
    std::vector<bool> isRepeat;
};

// Writes pictures, `plan` telling how often each is repeated.
Written write(const std::filesystem::path& path, const VideoSettings& settings, const std::vector<int>& plan) {
    Written written;
    int number = 0;
    for (const int repeats : plan) {
        for (int i = 0; i <= repeats; ++i) {
            written.expected.push_back(number);
            written.isRepeat.push_back(i > 0);
        }
        ++number;
    }
    AssetWriter writer(path, MovieContainer::mp4);
    auto& input = writer.addVideoInput(settings);
    EXPECT_TRUE(writer.startWriting());
    writer.startSession({});
    SerialQueue queue("test.video");
    std::promise<void> done;
    std::size_t next = 0;
    input.requestMediaDataWhenReady(queue, [&] {
        while (input.isReadyForMoreMediaData()) {
            if (next == written.expected.size()) {
                input.markAsFinished();
                done.set_value();
                return;
            }
            const MediaTime time{static_cast<std::int64_t>(next) * 10, 600};
            if (written.isRepeat[next]) {
                EXPECT_TRUE(input.appendRepeat(time));
            } else {
                auto picture = input.pool().makePlanar();
                paintTestPicture(written.expected[next], false, picture->destination());
                EXPECT_TRUE(input.append(std::move(picture), time));
            }
            ++next;
        }
    });
    done.get_future().wait();
    EXPECT_TRUE(writer.finishWriting()) << (writer.error() ? writer.error()->message() : "");
    return written;
}

bool samePixels(const imaging::YuvPicture& a, const imaging::YuvPicture& b) {
    const auto samePlane = [](const imaging::YuvPlane& x, const imaging::YuvPlane& y, int width, int height) {
        for (int row = 0; row < height; ++row) {
            if (std::memcmp(x.samples + row * x.stride, y.samples + row * y.stride, static_cast<std::size_t>(width)) !=
                0) {
                return false;
            }
        }
        return true;
    };
    return samePlane(a.luma, b.luma, a.width, a.height) && samePlane(a.cb, b.cb, a.chromaWidth(), a.chromaHeight()) &&
           samePlane(a.cr, b.cr, a.chromaWidth(), a.chromaHeight());
}

VideoSettings repeatSettings() {
    VideoSettings settings;
    settings.width = 144;
    settings.height = 112;
    settings.frameRate = 60;
    settings.averageBitRate = 1500000;
    settings.maxKeyFrameInterval = 120;
    return settings;
}

// Packet sizes and key flags in the order of decoding.
std::vector<StoredSample> storedSamples(const std::filesystem::path& path) {
    const auto asset = std::make_shared<const Asset>(path);
    AssetReader reader(asset);
    auto& output = reader.addStoredSampleOutput(asset->tracks().at(0).id);
    EXPECT_TRUE(reader.startReading());
    std::vector<StoredSample> samples;
    while (auto sample = output.copyNextSample()) samples.push_back(std::move(*sample));
    return samples;
}

void checkDecoded(const std::filesystem::path& path, const Written& written, const VideoSettings& settings) {
    const auto decoded = decodeTestMovie(path);
    const auto samples = storedSamples(path);
    ASSERT_EQ(decoded.size(), written.expected.size());
    ASSERT_EQ(samples.size(), written.expected.size());
    int sinceKey = 0;
    int identical = 0;
    int repeats = 0;
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        EXPECT_EQ(testPictureNumber(decoded[i].picture), written.expected[i]) << i;
        EXPECT_NEAR(decoded[i].seconds, static_cast<double>(i) / 60, 1e-9);
        sinceKey = samples[i].isKey ? 0 : sinceKey + 1;
        EXPECT_LT(sinceKey, settings.maxKeyFrameInterval) << i;
        if (!written.isRepeat[i]) continue;
        ++repeats;
        if (samePixels(decoded[i].picture, decoded[i - 1].picture)) ++identical;
    }
    // Key pictures and settling ones may differ from the one before, in quality only.
    if (settings.skipRepeatedPictures && settings.maxKeyFrameInterval >= 100) {
        EXPECT_GT(identical * 2, repeats);
    }
}

TEST(RepeatedPictures, EveryPictureDecodesToWhatItShows) {
    const TemporaryFolder folder;
    std::mt19937 random(2);
    std::vector<int> plan;
    for (int i = 0; i < 60; ++i) plan.push_back(random() % 3 == 0 ? 0 : static_cast<int>(random() % 23));
    plan.push_back(400);  // longer than a key distance, and than the numbers of a stream go
    for (int i = 0; i < 30; ++i) plan.push_back(static_cast<int>(random() % 5));
    plan.push_back(9);
    for (const int settling : {0, 2}) {
        for (const int interval : {120, 37}) {
            VideoSettings settings = repeatSettings();
            settings.settlingRepeats = settling;
            settings.maxKeyFrameInterval = interval;
            const Written written = write(folder / "out.mp4", settings, plan);
            checkDecoded(folder / "out.mp4", written, settings);
        }
    }
}

TEST(RepeatedPictures, RepeatsAreADozenBytesAndEqualThePictureBefore) {
    const TemporaryFolder folder;
    VideoSettings settings = repeatSettings();
    settings.settlingRepeats = 1;
    const Written written = write(folder / "out.mp4", settings, {0, 0, 50, 0, 30, 30});
    const auto samples = storedSamples(folder / "out.mp4");
    const auto decoded = decodeTestMovie(folder / "out.mp4");
    ASSERT_EQ(samples.size(), written.expected.size());
    ASSERT_EQ(decoded.size(), written.expected.size());
    int skipped = 0;
    std::vector<MediaTime> times;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        EXPECT_EQ(samples[i].duration, (MediaTime{10, 600})) << i;
        const bool isSkip = written.isRepeat[i] && written.isRepeat[i - 1];
        if (!isSkip) continue;
        ++skipped;
        EXPECT_LE(samples[i].packet->size, 24) << i;
        EXPECT_TRUE(samePixels(decoded[i].picture, decoded[i - 1].picture)) << i;
    }
    EXPECT_EQ(skipped, 49 + 29 + 29);
}

TEST(RepeatedPictures, AStillPictureStaysSharpAcrossKeyPictures) {
    const TemporaryFolder folder;
    VideoSettings settings = repeatSettings();
    settings.width = 320;
    settings.height = 192;
    settings.averageBitRate = 320 * 192 * 6;
    settings.maxKeyFrameInterval = 60;
    // Lines of dark specks on white, about as hard to encode as text.
    const auto luma = [](int x, int y) {
        const unsigned mixed = static_cast<unsigned>(x / 2) * 73856093U ^ static_cast<unsigned>(y / 2) * 19349663U;
        return y / 14 % 2 == 0 && (mixed >> 13 & 3U) == 0 ? 30 : 235;
    };
    AssetWriter writer(folder / "out.mp4", MovieContainer::mp4);
    auto& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    SerialQueue queue("test.video");
    std::promise<void> done;
    int next = 0;
    input.requestMediaDataWhenReady(queue, [&] {
        for (; input.isReadyForMoreMediaData(); ++next) {
            if (next == 300) {
                input.markAsFinished();
                done.set_value();
                return;
            }
            const MediaTime time{next * 10, 600};
            if (next > 0) {
                EXPECT_TRUE(input.appendRepeat(time));
                continue;
            }
            auto picture = input.pool().makePlanar();
            const imaging::YuvDestination& planes = picture->destination();
            for (int y = 0; y < 192; ++y) {
                for (int x = 0; x < 320; ++x) {
                    planes.luma[y * planes.lumaStride + x] = static_cast<std::uint8_t>(luma(x, y));
                }
            }
            for (int y = 0; y < 96; ++y) {
                std::fill_n(planes.cb + y * planes.chromaStride, 160, std::uint8_t{128});
                std::fill_n(planes.cr + y * planes.chromaStride, 160, std::uint8_t{128});
            }
            EXPECT_TRUE(input.append(std::move(picture), time));
        }
    });
    done.get_future().wait();
    ASSERT_TRUE(writer.finishWriting());
    const auto decoded = decodeTestMovie(folder / "out.mp4");
    ASSERT_EQ(decoded.size(), 300u);
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        if (i % 60 < 4) continue;  // settles
        double error = 0;
        for (int y = 0; y < 192; ++y) {
            for (int x = 0; x < 320; ++x) {
                const imaging::YuvPlane& plane = decoded[i].picture.luma;
                const double difference = plane.samples[y * plane.stride + x] - luma(x, y);
                error += difference * difference;
            }
        }
        // The encoder begins carefully, before it knows how little comes; the second key picture makes up for it.
        const double required = i < 60 ? 35 : 45;
        EXPECT_GT(10 * std::log10(255.0 * 255.0 / (error / (320 * 192) + 1e-9)), required) << i;
    }
}

TEST(RepeatedPictures, CanBeSwitchedOff) {
    const TemporaryFolder folder;
    VideoSettings settings = repeatSettings();
    settings.skipRepeatedPictures = false;
    const Written written = write(folder / "out.mp4", settings, {0, 20, 3});
    checkDecoded(folder / "out.mp4", written, settings);
}

TEST(RepeatedPictures, SeekingLandsOnRightPicturesAmongRepeats) {
    const TemporaryFolder folder;
    VideoSettings settings = repeatSettings();
    settings.maxKeyFrameInterval = 50;
    const Written written = write(folder / "out.mp4", settings, {3, 60, 0, 0, 12, 44, 1, 0, 70});
    const auto asset = std::make_shared<const Asset>(folder / "out.mp4");
    for (std::size_t start = 0; start < written.expected.size(); start += 7) {
        AssetReader reader(asset);
        reader.setTimeRange({{static_cast<std::int64_t>(start) * 10, 600}, {40, 600}});
        auto& output = reader.addVideoOutput(asset->tracks().at(0).id, PictureFormat::planar);
        ASSERT_TRUE(reader.startReading());
        std::size_t index = start;
        while (const auto sample = output.copyNextSample()) {
            EXPECT_EQ(testPictureNumber(sample->planar()), written.expected.at(index++));
        }
        EXPECT_EQ(reader.status(), AssetReader::Status::completed);
        EXPECT_GT(index, start);
    }
}

}  // namespace
}  // namespace lumivastor::media
