#include "imaging/square_means.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace lumivastor {
namespace {

using Buffer = BgraPremultipliedBuffer;

template <typename Value>
Buffer filled(int width, int height, Value value) {
    Buffer buffer(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int i = 0; i < 4; ++i) buffer.pixel(x, y)[i] = static_cast<std::uint8_t>(value(x, y, i));
        }
    }
    return buffer;
}

std::array<int, 4> at(const Buffer& buffer, int x, int y) {
    const std::uint8_t* pixel = buffer.pixel(x, y);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

using Pixel = std::array<int, 4>;

TEST(SquareMeans, SquaresOfWholePixelsAverageEachChannelByItself) {
    const Buffer pixels = filled(4, 4, [](int x, int y, int i) { return i == 3 ? 255 : 10 * x + 20 * y + i; });
    const Buffer means = squareMeans(pixels, std::array{0.0, 2.0}, std::array{0.0, 2.0}, 2);
    ASSERT_EQ(means.width(), 2);
    ASSERT_EQ(means.height(), 2);
    EXPECT_EQ(at(means, 0, 0), (Pixel{15, 16, 17, 255}));
    EXPECT_EQ(at(means, 1, 0), (Pixel{35, 36, 37, 255}));
    EXPECT_EQ(at(means, 0, 1), (Pixel{55, 56, 57, 255}));
    EXPECT_EQ(at(means, 1, 1), (Pixel{75, 76, 77, 255}));
}

TEST(SquareMeans, APixelCountsAsMuchAsASquareHoldsOfIt) {
    const Buffer pixels = filled(3, 1, [](int x, int, int) {
        return std::array{0, 100, 200}[static_cast<std::size_t>(x)];
    });
    // The first square ends within the second pixel. The second one takes the rest of that and reaches over the right
    // edge, and both over the bottom: their area is 2.25 all the same.
    const Buffer means = squareMeans(pixels, std::array{0.25, 1.75}, std::array{0.0}, 1.5);
    const auto shown = [](double sum) { return static_cast<int>(sum / 2.25 + 0.5); };
    EXPECT_EQ(at(means, 0, 0)[0], shown(0.75 * 100));
    EXPECT_EQ(at(means, 1, 0)[0], shown(0.25 * 100 + 1.0 * 200));
}

TEST(SquareMeans, WhatLiesOutsideIsTransparent) {
    const Buffer pixels = filled(2, 2, [](int, int, int) { return 200; });
    const std::array edges{-3.0, -1.0, 1.0, 3.0};
    const Buffer means = squareMeans(pixels, edges, edges, 2);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            const bool touches = x >= 1 && x <= 2 && y >= 1 && y <= 2;
            EXPECT_EQ(at(means, x, y)[3], touches ? 50 : 0) << x << ", " << y;
        }
    }
}

// Whatever the squares' size and place, they share out all light, and none is lost or counted twice.
TEST(SquareMeans, AllSquaresTogetherHoldWhatThePictureHolds) {
    const Buffer pixels = filled(23, 17, [](int x, int y, int i) { return (x * 37 + y * 91 + i * 53) % 256; });
    double whole = 0;
    for (int y = 0; y < pixels.height(); ++y) {
        for (int x = 0; x < pixels.width(); ++x) whole += at(pixels, x, y)[1];
    }
    for (double side = 1; side < 12; side += 0.37) {
        std::vector<double> lefts;
        std::vector<double> tops;
        for (double edge = -0.61; edge < pixels.width(); edge += side) lefts.push_back(edge);
        for (double edge = -0.29; edge < pixels.height(); edge += side) tops.push_back(edge);
        const Buffer means = squareMeans(pixels, lefts, tops, side);
        double sum = 0;
        for (int y = 0; y < means.height(); ++y) {
            for (int x = 0; x < means.width(); ++x) sum += at(means, x, y)[1] * side * side;
        }
        // Each mean is rounded.
        const auto squares = static_cast<double>(lefts.size() * tops.size());
        EXPECT_NEAR(sum, whole, 0.5 * squares * side * side) << side;
        EXPECT_NEAR(sum, whole, 0.01 * whole) << side;
    }
}

TEST(SquareMeans, WithoutSquaresThereIsNothing) {
    const Buffer pixels = filled(2, 2, [](int, int, int) { return 200; });
    EXPECT_TRUE(squareMeans(pixels, {}, std::array{0.0}, 2).isEmpty());
}

}  // namespace
}  // namespace lumivastor
