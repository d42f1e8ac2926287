// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/picture_to_bgra.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace lumivastor::ffmpeg {
namespace {

struct Colour {
    int red, green, blue;
};

// A colour as Y, U and V of 8 bits, by the standards' definitions.
std::array<std::uint8_t, 3> yuv(Colour colour, bool isBt709, bool isFullRange) {
    const double kr = isBt709 ? 0.2126 : 0.299;
    const double kb = isBt709 ? 0.0722 : 0.114;
    const double r = colour.red / 255.0;
    const double g = colour.green / 255.0;
    const double b = colour.blue / 255.0;
    const double y = kr * r + (1 - kr - kb) * g + kb * b;
    const double u = (b - y) / (2 * (1 - kb));
    const double v = (r - y) / (2 * (1 - kr));
    const auto byte = [](double value) { return static_cast<std::uint8_t>(std::min(std::lround(value), 255L)); };
    if (isFullRange) return {byte(255 * y), byte(128 + 255 * u), byte(128 + 255 * v)};
    return {byte(16 + 219 * y), byte(128 + 224 * u), byte(128 + 224 * v)};
}

void expectColour(const imaging::BgraPremultipliedBuffer* image, Colour colour) {
    ASSERT_NE(image, nullptr);
    for (const auto [x, y] : {std::array{0, 0}, {31, 7}, {63, 47}}) {
        const std::uint8_t* const pixel = image->pixel(x, y);
        EXPECT_NEAR(pixel[2], colour.red, 3);
        EXPECT_NEAR(pixel[1], colour.green, 3);
        EXPECT_NEAR(pixel[0], colour.blue, 3);
        EXPECT_EQ(pixel[3], 255);
    }
}

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr std::array<Colour, 5> kColours{{{255, 0, 0}, {10, 200, 30}, {20, 40, 220}, {255, 255, 255}, {0, 0, 0}}};

// A flat picture in one block with rows of `stride` bytes.
std::vector<std::uint8_t> block(int format, Colour colour, bool isBt709, bool isFullRange, std::size_t stride) {
    const auto [y, u, v] = yuv(colour, isBt709, isFullRange);
    std::vector<std::uint8_t> bytes;
    if (format == AV_PIX_FMT_YUYV422) {
        bytes.assign(stride * kHeight, 0);
        for (std::size_t row = 0; row < kHeight; ++row) {
            for (std::size_t x = 0; x < kWidth * 2; ++x) {
                bytes[row * stride + x] = x % 2 == 0 ? y : x % 4 == 1 ? u : v;
            }
        }
    } else if (format == AV_PIX_FMT_NV12) {
        bytes.assign(stride * kHeight, y);
        for (std::size_t i = 0; i < stride * kHeight / 2; ++i) bytes.push_back(i % 2 == 0 ? u : v);
    } else {
        bytes.assign(stride * kHeight, y);
        bytes.insert(bytes.end(), stride / 2 * kHeight / 2, u);
        bytes.insert(bytes.end(), stride / 2 * kHeight / 2, v);
    }
    return bytes;
}

TEST(PictureToBgra, YuvFormatsGiveTheColourThatWasMeant) {
    for (const int format : {AV_PIX_FMT_YUYV422, AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P}) {
        const std::size_t tight = format == AV_PIX_FMT_YUYV422 ? kWidth * 2 : kWidth;
        for (const std::size_t stride : {tight, tight + 32}) {
            for (const bool isBt709 : {false, true}) {
                for (const bool isFullRange : {false, true}) {
                    for (const Colour colour : kColours) {
                        const auto bytes = block(format, colour, isBt709, isFullRange, stride);
                        auto picture = pictureInBlock(format, kWidth, kHeight, bytes.data(), bytes.size(),
                                                      stride == tight ? 0 : static_cast<int>(stride));
                        ASSERT_TRUE(picture);
                        picture->isBt709 = isBt709;
                        picture->isFullRange = isFullRange;
                        PictureToBgra converter(false);
                        expectColour(converter.convert(*picture).get(), colour);
                    }
                }
            }
        }
    }
}

TEST(PictureToBgra, WithoutTagsCamerasMeanBt601AndCapturedScreensBt709) {
    EXPECT_FALSE(meansBt709(false, 1080));
    EXPECT_TRUE(meansBt709(true, 1080));
    EXPECT_FALSE(meansBt709(true, 576));
    const Colour red{255, 0, 0};
    const auto bytes = block(AV_PIX_FMT_NV12, red, false, false, kWidth);
    const auto picture = pictureInBlock(AV_PIX_FMT_NV12, kWidth, kHeight, bytes.data(), bytes.size(), 0);
    ASSERT_TRUE(picture);
    PictureToBgra converter(false);
    expectColour(converter.convert(*picture).get(), red);
}

TEST(PictureToBgra, RgbComesOutOpaque) {
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < kWidth * kHeight; ++i) bytes.insert(bytes.end(), {30, 60, 90, 7});
    for (const int format : {AV_PIX_FMT_BGRA, AV_PIX_FMT_BGR0}) {
        const auto picture = pictureInBlock(format, kWidth, kHeight, bytes.data(), bytes.size(), 0);
        ASSERT_TRUE(picture);
        PictureToBgra converter(false);
        expectColour(converter.convert(*picture).get(), {90, 60, 30});
    }
}

TEST(PictureToBgra, ABlockThatIsTooSmallIsRefused) {
    std::vector<std::uint8_t> bytes(kWidth * kHeight * 3 / 2);
    EXPECT_TRUE(pictureInBlock(AV_PIX_FMT_NV12, kWidth, kHeight, bytes.data(), bytes.size(), 0));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, kWidth, kHeight, bytes.data(), bytes.size() - 1, 0));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, kWidth, kHeight, bytes.data(), bytes.size(), kWidth + 16));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, kWidth, kHeight, bytes.data(), bytes.size(), kWidth - 16));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, 0, kHeight, bytes.data(), bytes.size(), 0));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, kWidth, -4, bytes.data(), bytes.size(), 0));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, 1 << 20, 1 << 20, bytes.data(), bytes.size(), 0));
    EXPECT_FALSE(pictureInBlock(-1, kWidth, kHeight, bytes.data(), bytes.size(), 0));
    EXPECT_FALSE(pictureInBlock(AV_PIX_FMT_NV12, kWidth, kHeight, nullptr, bytes.size(), 0));
}

TEST(PictureToBgra, PlanesMayLieApart) {
    const Colour green{10, 200, 30};
    const auto bytes = block(AV_PIX_FMT_NV12, green, false, false, kWidth);
    constexpr std::size_t kLuma = kWidth * kHeight;
    const std::vector<std::uint8_t> luma(bytes.begin(), bytes.begin() + kLuma);
    const std::vector<std::uint8_t> colours(bytes.begin() + kLuma, bytes.end());
    std::array<PlaneBlock, 2> blocks{{{luma.data(), luma.size(), 0}, {colours.data(), colours.size(), kWidth}}};
    const auto picture = pictureInPlanes(AV_PIX_FMT_NV12, kWidth, kHeight, blocks);
    ASSERT_TRUE(picture);
    PictureToBgra converter(false);
    expectColour(converter.convert(*picture).get(), green);
    blocks[1].size -= 1;
    EXPECT_FALSE(pictureInPlanes(AV_PIX_FMT_NV12, kWidth, kHeight, blocks));
    EXPECT_FALSE(pictureInPlanes(AV_PIX_FMT_NV12, kWidth, kHeight, std::span(blocks).first(1)));
}

TEST(PictureToBgra, TheLastRowMayEndWithItsLastPixel) {
    const std::size_t stride = kWidth * 2 + 32;
    const auto bytes = block(AV_PIX_FMT_YUYV422, {255, 255, 255}, false, false, stride);
    const auto picture =
        pictureInBlock(AV_PIX_FMT_YUYV422, kWidth, kHeight, bytes.data(), bytes.size() - 32, static_cast<int>(stride));
    ASSERT_TRUE(picture);
    PictureToBgra converter(false);
    expectColour(converter.convert(*picture).get(), {255, 255, 255});
}

}  // namespace
}  // namespace lumivastor::ffmpeg
