// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/codec_support.h"

#include <gtest/gtest.h>

#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/h264_bitstream.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace lumivastor::media {
namespace {

// Whether they follow, a trial looks at; here, that none of those listed takes the question for nonsense.
TEST(HighProfile, IsAskedOfEveryListedHardwareEncoder) {
    for (const EncoderCandidate& candidate : listedHardwareEncoders(VideoCodec::h264)) {
        const AVCodec* const encoder = avcodec_find_encoder_by_name(candidate.encoder.c_str());
        const ffmpeg::CodecHandle codec = makeEncoder(encoder, "test");
        askForHighProfile(*codec);
        EXPECT_EQ(codec->profile, kH264High);
        const AVOption* const option = av_opt_find(codec->priv_data, "profile", nullptr, 0, 0);
        if (option == nullptr) continue;
        std::int64_t before = 0;
        std::int64_t after = 0;
        ASSERT_GE(av_opt_get_int(codec->priv_data, "profile", 0, &after), 0);
        EXPECT_GE(av_opt_set(codec->priv_data, "profile", "main", 0), 0);
        ASSERT_GE(av_opt_get_int(codec->priv_data, "profile", 0, &before), 0);
        EXPECT_NE(before, after) << candidate.encoder << " does not know High by this name";
    }
}

TEST(HighProfile, IsReadFromTheParameterSets) {
    const std::vector<std::uint8_t> high{0, 0, 0, 1, 0x67, 100, 0, 40, 0, 0, 0, 1, 0x68, 1};
    const std::vector<std::uint8_t> main{0, 0, 1, 0x67, 77, 0, 40};
    EXPECT_EQ(profileOf(high), kH264High);
    EXPECT_EQ(profileOf(main), 77);
    std::vector<std::uint8_t> both = high;
    both.insert(both.end(), main.begin(), main.end());
    EXPECT_EQ(profileOf(both), std::nullopt);
    both = high;
    both.insert(both.end(), high.begin(), high.end());
    EXPECT_EQ(profileOf(both), kH264High);
    EXPECT_EQ(profileOf({}), std::nullopt);
    EXPECT_EQ(profileOf(std::vector<std::uint8_t>{0, 0, 1, 0x67}), std::nullopt);
    EXPECT_EQ(profileOf(std::vector<std::uint8_t>{1, 100, 0, 40}), std::nullopt) << "not in this form";
}

}  // namespace
}  // namespace lumivastor::media
