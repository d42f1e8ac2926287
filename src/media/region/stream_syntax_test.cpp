// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/stream_syntax.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "media/region/stream_weaver.h"
#include "media/writing/h264_bitstream.h"
#include "support/region_stream.h"

namespace lumivastor::media {
namespace {

// Units of a test encoder's parameter sets, by kind.
std::vector<std::uint8_t> unitOf(const std::vector<std::uint8_t>& stream, H264Unit kind) {
    for (const auto unit : unitsOf(stream)) {
        if (unitKind(unit) == kind) return {unit.begin(), unit.end()};
    }
    return {};
}

SequenceParameterSet sequenceOf(const TestEncoderOptions& options) {
    const TestEncoder encoder(options);
    const auto read = readSequenceParameterSet(unitOf(encoder.parameterSets(), H264Unit::sequenceParameters));
    EXPECT_TRUE(std::holds_alternative<SequenceParameterSet>(read)) << std::get<Obstacle>(read).reason;
    return std::get<SequenceParameterSet>(read);
}

std::string obstacleOf(const std::vector<std::uint8_t>& parameterSets) {
    const auto made = StreamWeaver::make(parameterSets, 0);
    const auto* const obstacle = std::get_if<Obstacle>(&made);
    return obstacle != nullptr ? std::string(obstacle->reason) : "";
}

std::string obstacleOf(const std::string& parameters) {
    TestEncoderOptions options;
    options.parameters = parameters;
    return obstacleOf(TestEncoder(options).parameterSets());
}

TEST(StreamSyntax, ReadsWhatTheEncoderWrote) {
    TestEncoderOptions options;
    options.width = 1366;
    options.height = 1080;
    const SequenceParameterSet sequence = sequenceOf(options);
    EXPECT_EQ(sequence.profileIdc, 100u);
    EXPECT_EQ(sequence.width, 1366);
    EXPECT_EQ(sequence.height, 1080);
    EXPECT_EQ(sequence.widthInMbs, 86);
    EXPECT_EQ(sequence.heightInMbs, 68);
    EXPECT_EQ(sequence.picOrderCntType, 2u);
    EXPECT_EQ(sequence.maxNumRefFrames, 1u);
    EXPECT_GT(sequence.maxDecFrameBufferingAt.end, sequence.maxDecFrameBufferingAt.begin);

    options.preset = "ultrafast";
    options.usesCabac = false;
    EXPECT_EQ(sequenceOf(options).profileIdc, 66u);
    options.usesCabac = true;
    EXPECT_EQ(sequenceOf(options).profileIdc, 77u);
}

TEST(StreamSyntax, ReadsPictureParameterSetsOfBothEntropyCodings) {
    for (const bool usesCabac : {false, true}) {
        TestEncoderOptions options;
        options.usesCabac = usesCabac;
        const TestEncoder encoder(options);
        const auto read = readPictureParameterSet(unitOf(encoder.parameterSets(), H264Unit::pictureParameters));
        const auto* const set = std::get_if<PictureParameterSet>(&read);
        ASSERT_NE(set, nullptr);
        EXPECT_EQ(set->entropyCodingMode, usesCabac);
        EXPECT_EQ(set->numRefIdxL0DefaultActive, 1u);
        EXPECT_TRUE(set->deblockingFilterControlPresent);
    }
}

TEST(StreamSyntax, ARewrittenSetDiffersInItsThreeNumbersOnly) {
    const SequenceParameterSet before = sequenceOf({});
    const auto read = readSequenceParameterSet(rewrittenParameterSet(before, 16, 2));
    const auto* const after = std::get_if<SequenceParameterSet>(&read);
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(after->log2MaxFrameNum, 16);
    EXPECT_EQ(after->maxNumRefFrames, 2u);
    const auto bits = [](const SequenceParameterSet& set, std::size_t from, std::size_t to) {
        BitWriter writer;
        writer.append(set.content, from, to);
        const auto bytes = writer.bytes();
        return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
    };
    EXPECT_EQ(bits(before, 0, before.log2MaxFrameNumAt.begin), bits(*after, 0, after->log2MaxFrameNumAt.begin));
    EXPECT_EQ(bits(before, before.log2MaxFrameNumAt.end, before.maxNumRefFramesAt.begin),
              bits(*after, after->log2MaxFrameNumAt.end, after->maxNumRefFramesAt.begin));
    EXPECT_EQ(bits(before, before.maxNumRefFramesAt.end, before.maxDecFrameBufferingAt.begin),
              bits(*after, after->maxNumRefFramesAt.end, after->maxDecFrameBufferingAt.begin));
    EXPECT_EQ(bits(before, before.maxDecFrameBufferingAt.end, before.endAt),
              bits(*after, after->maxDecFrameBufferingAt.end, after->endAt));
    BitReader buffering(after->content);
    while (buffering.position() < after->maxDecFrameBufferingAt.begin) buffering.flag();
    EXPECT_EQ(buffering.unsignedGolomb(), 2u);
}

TEST(StreamSyntax, NamesWhatStandsInTheWay) {
    EXPECT_EQ(obstacleOf(""), "");
    EXPECT_EQ(obstacleOf("slices=4"), "");
    EXPECT_EQ(obstacleOf("no-deblock=1"), "");
    EXPECT_EQ(obstacleOf("vbv-maxrate=500:vbv-bufsize=1000"), "");
    EXPECT_EQ(obstacleOf("ref=2"), "pictures may refer to others than the one before");
    EXPECT_EQ(obstacleOf("weightp=2"), "prediction is weighted");
    EXPECT_EQ(obstacleOf("bframes=2"), "pictures may be shown in another order than decoded");
    EXPECT_EQ(obstacleOf("interlaced=1"), "pictures may be shown in another order than decoded");
    EXPECT_EQ(obstacleOf("nal-hrd=vbr:vbv-maxrate=500:vbv-bufsize=1000"), "the stream states its buffering");
    EXPECT_EQ(obstacleOf(std::vector<std::uint8_t>{}), "a parameter set is missing");
}

TEST(StreamSyntax, ALevelMustHoldTwoFrames) {
    SequenceParameterSet set = sequenceOf({});
    const auto framesAt = [&set](std::uint32_t levelIdc, int width, int height) {
        set.levelIdc = levelIdc;
        set.widthInMbs = (width + 15) / 16;
        set.heightInMbs = (height + 15) / 16;
        return maxDpbFrames(set);
    };
    EXPECT_EQ(framesAt(40, 1920, 1080), 4u);
    EXPECT_EQ(framesAt(51, 2560, 1440), 12u);
    EXPECT_EQ(framesAt(52, 3840, 2160), 5u);
    EXPECT_EQ(framesAt(30, 1920, 1080), 0u);
    EXPECT_EQ(framesAt(51, 16, 16), 16u);
    EXPECT_EQ(framesAt(99, 1920, 1080), 0u);
    EXPECT_EQ(maxVerticalDisplacement(set), 0);
    set.levelIdc = 30;
    EXPECT_EQ(maxVerticalDisplacement(set), 255);
    set.levelIdc = 51;
    EXPECT_EQ(maxVerticalDisplacement(set), 511);
    set.isLevel1b = true;
    EXPECT_EQ(framesAt(11, 176, 144), 4u);
}

// Bytes that are no stream of ours: read as something that fits, or refused; never beyond the end.
TEST(StreamSyntax, DamagedHeadersAreReadOrRefused) {
    const TestEncoderOptions options;
    TestEncoder encoder(options);
    const std::vector<std::uint8_t> sets = encoder.parameterSets();
    const std::vector<std::uint8_t> picture = encoder.encode(PlainPicture(options.width, options.height), true);
    std::mt19937 random(3);
    int refused = 0;
    int accepted = 0;
    const auto damaged = [&random](std::vector<std::uint8_t> bytes) {
        for (unsigned i = random() % 4; i > 0; --i) {
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        }
        if (random() % 3 == 0) bytes.resize(random() % bytes.size());
        return bytes;
    };
    for (int round = 0; round < 20000; ++round) {
        auto made = StreamWeaver::make(damaged(sets), 0);
        auto* const weaver = std::get_if<StreamWeaver>(&made);
        if (weaver == nullptr) {
            ++refused;
            continue;
        }
        ++accepted;
        EXPECT_GT(weaver->width(), 0);
        EXPECT_GT(weaver->height(), 0);
        const auto woven = weaver->encoderPicture(damaged(picture));
        if (const auto* const stream = std::get_if<std::vector<std::uint8_t>>(&woven)) {
            EXPECT_FALSE(unitsOf(*stream).empty());
        }
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(accepted, 1000);
}

}  // namespace
}  // namespace lumivastor::media
