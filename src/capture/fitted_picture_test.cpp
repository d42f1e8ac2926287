#include "capture/fitted_picture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lumivastor {
namespace {

std::shared_ptr<BgraPremultipliedBuffer> numbered(int width, int height) {
    auto picture = std::make_shared<BgraPremultipliedBuffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* pixel = picture->pixel(x, y);
            pixel[0] = static_cast<std::uint8_t>(x);
            pixel[1] = static_cast<std::uint8_t>(y);
            pixel[2] = 7;
            pixel[3] = 255;
        }
    }
    return picture;
}

TEST(FittedPicture, OneOfTheRightSizeIsTakenItself) {
    const auto picture = numbered(10, 8);
    EXPECT_EQ(fittedPicture(picture, 10, 8), picture);
}

TEST(FittedPicture, TheTopLeftPartIsKeptAndTheRestIsBlack) {
    for (const auto& [width, height] : {std::pair(11, 7), std::pair(9, 20), std::pair(30, 30), std::pair(4, 2)}) {
        const auto fitted = fittedPicture(numbered(11, 9), width, height);
        ASSERT_EQ(fitted->width(), width);
        ASSERT_EQ(fitted->height(), height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const std::uint8_t* pixel = fitted->pixel(x, y);
                const bool inside = x < 11 && y < 9;
                EXPECT_EQ(pixel[0], inside ? x : 0);
                EXPECT_EQ(pixel[1], inside ? y : 0);
                EXPECT_EQ(pixel[2], inside ? 7 : 0);
                EXPECT_EQ(pixel[3], 255);
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor
