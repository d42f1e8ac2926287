// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/group_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/h264_decoders.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lumivastor::media {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kGroupPictures = 40;

VideoSettings filmSettings(std::int64_t bitRate = 3'000'000) {
    VideoSettings settings;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.averageBitRate = bitRate;
    settings.frameRate = 60;
    settings.timescale = 600;
    settings.maxKeyFrameInterval = kGroupPictures;
    return settings;
}

// A page over which a square goes; in every third stretch all of it is noise that moves.
void paintScreen(const imaging::YuvDestination& planes, int number) {
    const bool isNoise = number / 30 % 3 == 2;
    std::mt19937 random(static_cast<unsigned>(number));
    for (int y = 0; y < planes.height; ++y) {
        for (int x = 0; x < planes.width; ++x) {
            const bool isSquare = x >= number % 200 && x < number % 200 + 14 && y >= 60 && y < 80;
            const int page = (x / 3 * 7 + y / 5 * 11) % 5 == 0 ? 40 : 225;
            const int shown = isSquare ? 90 : page;
            planes.luma[y * planes.lumaStride + x] =
                static_cast<std::uint8_t>(isNoise ? 16 + static_cast<int>(random() % 220) : shown);
        }
    }
    for (int y = 0; y < planes.height / 2; ++y) {
        std::fill_n(planes.cb + y * planes.chromaStride, planes.width / 2, std::uint8_t{120});
        std::fill_n(planes.cr + y * planes.chromaStride, planes.width / 2, std::uint8_t{136});
    }
}

CodedGroup encode(GroupEncoder& encoder, const RateCarry& carry, int first, int pictures = kGroupPictures) {
    imaging::PicturePool pool(kWidth, kHeight, {});
    encoder.begin(carry);
    for (int i = first; i < first + pictures; ++i) {
        if (i % 7 == 3 && i > first) {
            encoder.repeat();
            continue;
        }
        auto picture = pool.makePlanar();
        paintScreen(picture->destination(), i);
        encoder.encode(picture, std::nullopt);
    }
    return encoder.end();
}

std::vector<CodedGroup> encodeAll(GroupEncoder& encoder, int groups) {
    std::vector<CodedGroup> all;
    RateCarry carry;
    for (int i = 0; i < groups; ++i) {
        all.push_back(encode(encoder, carry, i * kGroupPictures));
        carry = all.back().carry;
    }
    return all;
}

TEST(GroupEncoder, AGroupIsTheSameWhateverWasEncodedBefore) {
    GroupEncoder encoder(filmSettings(), {});
    ASSERT_EQ(encoder.obstacle(), "");
    const std::vector<CodedGroup> all = encodeAll(encoder, 6);
    RateCarry carry;
    for (int i = 0; i < 6; ++i) {
        const CodedGroup& group = all[static_cast<std::size_t>(i)];
        EXPECT_EQ(group.sizes.size(), static_cast<std::size_t>(kGroupPictures));
        EXPECT_TRUE(isWellFormed(group));
        GroupEncoder another(filmSettings(), {});
        EXPECT_EQ(another.parameterSets(), encoder.parameterSets());
        EXPECT_EQ(encode(another, carry, i * kGroupPictures), group) << i;
        carry = group.carry;
    }
}

TEST(GroupEncoder, TwoDecodersShowGroupsInAnyOrder) {
    GroupEncoder encoder(filmSettings(), {});
    std::vector<CodedGroup> all = encodeAll(encoder, 5);
    std::swap(all[0], all[3]);
    all.erase(all.begin() + 1);
    std::vector<PlainPicture> shown;
    const auto ffmpeg = makeFfmpegDecoder(encoder.parameterSets(), 2,
                                          [&shown](const PlainPicture& picture) { shown.push_back(picture); });
    std::size_t next = 0;
    int different = 0;
    const auto openH264 = makeOpenH264Decoder(encoder.parameterSets(), [&](const PlainPicture& picture) {
        if (next >= shown.size() || !(shown[next] == picture)) ++different;
        ++next;
    });
    std::vector<std::vector<std::uint8_t>> pictures;
    for (const CodedGroup& group : all) {
        for (std::size_t i = 0; i < group.sizes.size(); ++i) {
            const StoredSample sample = storedPicture(group, i, {}, {});
            EXPECT_TRUE(i > 0 || sample.isKey);
            pictures.emplace_back(sample.packet->data, sample.packet->data + sample.packet->size);
        }
    }
    for (const auto& picture : pictures) ffmpeg->decode(picture);
    ffmpeg->finish();
    EXPECT_EQ(ffmpeg->complaints(), 0);
    ASSERT_EQ(shown.size(), 4u * kGroupPictures);
    for (const auto& picture : pictures) openH264->decode(picture);
    openH264->finish();
    EXPECT_EQ(openH264->complaints(), 0);
    EXPECT_EQ(different, 0);
}

TEST(GroupEncoder, GroupsKeepToTheLimitTogether) {
    constexpr std::int64_t kRate = 600'000;
    GroupEncoder encoder(filmSettings(kRate), {});
    RateCarry carry;
    std::size_t bytes = 0;
    constexpr int kGroups = 12;
    for (int i = 0; i < kGroups; ++i) {
        // Noise alone.
        const CodedGroup group = encode(encoder, carry, 60 + i * 90, 30);
        bytes += group.bytes.size();
        carry = group.carry;
    }
    // What was saved at the beginning comes once.
    const double seconds = kGroups * 0.5 + 2;
    EXPECT_LT(static_cast<double>(bytes) * 8, 1.3 * seconds * static_cast<double>(kRate));
    EXPECT_TRUE(carry.isInMotion);
    EXPECT_LT(carry.saved, RateCarry::kSteps / 2);
}

TEST(GroupEncoder, BytesThatAreNoGroupAreSeen) {
    GroupEncoder encoder(filmSettings(), {});
    const CodedGroup right = encode(encoder, {}, 0, 5);
    ASSERT_TRUE(isWellFormed(right));
    CodedGroup wrong = right;
    wrong.bytes.pop_back();
    EXPECT_FALSE(isWellFormed(wrong));
    wrong = right;
    wrong.bytes[0] = 0x7f;
    EXPECT_FALSE(isWellFormed(wrong));
    wrong = right;
    ++wrong.sizes[0];
    EXPECT_FALSE(isWellFormed(wrong));
    wrong = right;
    wrong.sizes.push_back(0);
    EXPECT_FALSE(isWellFormed(wrong));
    EXPECT_FALSE(isWellFormed({}));
}

}  // namespace
}  // namespace lumivastor::media
