// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_formats.h"

#include <gtest/gtest.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <array>
#include <cstdint>
#include <optional>

namespace lumivastor::pipewire {
namespace {

// Memory in which a description is built.
struct Builder {
    Builder() { spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size())); }
    Builder(const Builder&) = delete;
    Builder& operator=(const Builder&) = delete;

    std::array<std::uint8_t, kScreenBufferBytes> memory{};
    spa_pod_builder builder{};
};

std::optional<ScreenFormat> agreed(spa_video_format format, std::uint32_t width, std::uint32_t height) {
    Builder memory;
    spa_video_info_raw raw{};
    raw.format = format;
    raw.size = {width, height};
    return agreedScreenFormat(spa_format_video_raw_build(&memory.builder, SPA_PARAM_Format, &raw));
}

TEST(ScreenFormats, FourByteOrdersAreRead) {
    EXPECT_EQ(agreed(SPA_VIDEO_FORMAT_BGRx, 1920, 1080), (ScreenFormat{{1920, 1080}, false}));
    EXPECT_EQ(agreed(SPA_VIDEO_FORMAT_BGRA, 1, 1), (ScreenFormat{{1, 1}, false}));
    EXPECT_EQ(agreed(SPA_VIDEO_FORMAT_RGBx, 640, 16384), (ScreenFormat{{640, 16384}, true}));
    EXPECT_EQ(agreed(SPA_VIDEO_FORMAT_RGBA, 16384, 1), (ScreenFormat{{16384, 1}, true}));
    for (const spa_video_format other : {SPA_VIDEO_FORMAT_xRGB, SPA_VIDEO_FORMAT_RGB, SPA_VIDEO_FORMAT_NV12}) {
        EXPECT_FALSE(agreed(other, 640, 480));
    }
}

TEST(ScreenFormats, SizesThatNoScreenHasAreNotAgreedOn) {
    EXPECT_FALSE(agreed(SPA_VIDEO_FORMAT_BGRx, 0, 1080));
    EXPECT_FALSE(agreed(SPA_VIDEO_FORMAT_BGRx, 1920, 0));
    EXPECT_FALSE(agreed(SPA_VIDEO_FORMAT_BGRx, 16385, 1));
    EXPECT_FALSE(agreed(SPA_VIDEO_FORMAT_BGRx, 1, 0xffffffff));
    EXPECT_FALSE(agreedScreenFormat(nullptr));
}

TEST(ScreenFormats, TheOfferHasARateAtMostAndNoModifier) {
    Builder memory;
    const spa_pod* const offer = screenFormatOffer(&memory.builder, 24);
    ASSERT_TRUE(offer);
    EXPECT_FALSE(spa_pod_find_prop(offer, nullptr, SPA_FORMAT_VIDEO_modifier));
    const spa_pod_prop* const rate = spa_pod_find_prop(offer, nullptr, SPA_FORMAT_VIDEO_maxFramerate);
    ASSERT_TRUE(rate);
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    const spa_pod* const values = spa_pod_get_values(&rate->value, &count, &choice);
    ASSERT_EQ(choice, static_cast<std::uint32_t>(SPA_CHOICE_Range));
    ASSERT_EQ(count, 3U);
    const auto* const rates = static_cast<const spa_fraction*>(SPA_POD_BODY_CONST(values));
    EXPECT_EQ(rates[0].num, 24U);
    EXPECT_EQ(rates[2].num, 24U);
}

TEST(ScreenFormats, TheBuffersParametersFitTheirMemory) {
    Builder memory;
    const auto all = screenBufferParameters(&memory.builder);
    EXPECT_EQ(all.size(), 6U);
    for (const spa_pod* const one : all) EXPECT_TRUE(one);
    EXPECT_LE(memory.builder.state.offset, kScreenBufferBytes);
}

}  // namespace
}  // namespace lumivastor::pipewire
