// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/png_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::imaging {
namespace {

BgraPremultipliedBuffer gradient(int width, int height) {
    BgraPremultipliedBuffer picture(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int alpha = 255 * (x + 1) / width;
            std::uint8_t* pixel = picture.pixel(x, y);
            pixel[0] = static_cast<std::uint8_t>(alpha * y / height);
            pixel[1] = static_cast<std::uint8_t>(alpha / 2);
            pixel[2] = static_cast<std::uint8_t>(alpha);
            pixel[3] = static_cast<std::uint8_t>(alpha);
        }
    }
    return picture;
}

std::span<const std::byte> asBytes(const std::string& text) {
    return std::as_bytes(std::span(text));
}

TEST(PngFile, WhatIsWrittenIsReadBackWithinOneStep) {
    const TemporaryFolder folder;
    const auto picture = gradient(37, 23);
    writePng(folder / "picture.png", picture);
    const auto again = readPng(folder / "picture.png");
    ASSERT_EQ(again.width(), 37);
    ASSERT_EQ(again.height(), 23);
    for (int y = 0; y < 23; ++y) {
        for (int x = 0; x < 37; ++x) {
            for (int channel = 0; channel < 4; ++channel) {
                ASSERT_LE(std::abs(picture.pixel(x, y)[channel] - again.pixel(x, y)[channel]), 1) << x << "," << y;
            }
        }
    }
}

TEST(PngFile, ColoursArePremultipliedAndOrderedBlueFirst) {
    const TemporaryFolder folder;
    BgraPremultipliedBuffer picture(1, 1);
    const std::uint8_t halfRed[] = {0, 0, 128, 128};
    std::copy(std::begin(halfRed), std::end(halfRed), picture.pixel(0, 0));
    writePng(folder / "red.png", picture);
    const auto again = readPng(folder / "red.png");
    EXPECT_EQ(again.pixel(0, 0)[0], 0);
    EXPECT_EQ(again.pixel(0, 0)[2], 128);
    EXPECT_EQ(again.pixel(0, 0)[3], 128);
}

TEST(PngFile, EveryTruncationIsAnError) {
    const TemporaryFolder folder;
    writePng(folder / "picture.png", gradient(9, 9));
    const std::string whole = folder.read("picture.png");
    // The last 12 bytes are the end mark, without which the pixels are still complete.
    for (std::size_t length = 0; length + 16 < whole.size(); ++length) {
        EXPECT_THROW(decodePng(asBytes(whole.substr(0, length))), RecorderError) << length;
    }
}

TEST(PngFile, LimitsHoldBeforePixelsAreAllocated) {
    const TemporaryFolder folder;
    writePng(folder / "picture.png", gradient(20, 10));
    EXPECT_NO_THROW(readPng(folder / "picture.png", {20, 10}));
    EXPECT_THROW(readPng(folder / "picture.png", {19, 10}), RecorderError);
    EXPECT_THROW(readPng(folder / "picture.png", {20, 9}), RecorderError);
}

TEST(PngFile, AHeaderThatClaimsHugePixelsIsRefused) {
    const TemporaryFolder folder;
    writePng(folder / "picture.png", gradient(2, 2));
    std::string bytes = folder.read("picture.png");
    bytes[16] = 0x7f;  // the width's highest byte
    EXPECT_THROW(decodePng(asBytes(bytes)), RecorderError);
}

TEST(PngFile, WhatIsNoPngIsAnError) {
    EXPECT_THROW(decodePng(asBytes(std::string())), RecorderError);
    EXPECT_THROW(decodePng(asBytes(std::string("GIF89a, surely"))), RecorderError);
    EXPECT_THROW(readPng("/nowhere/at/all.png"), RecorderError);
}

}  // namespace
}  // namespace lumivastor::imaging
