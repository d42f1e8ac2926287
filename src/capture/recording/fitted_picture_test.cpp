// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/fitted_picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace lumivastor::capture {
namespace {

std::shared_ptr<imaging::BgraPremultipliedBuffer> numbered(int width, int height) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
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

TEST(ContainedPlace, ShowsAllOfThePictureInTheMiddle) {
    EXPECT_EQ(containedPlace(2556, 1178, 1178, 2556), (PicturePlace{0, 1006, 1178, 543}));
    EXPECT_EQ(containedPlace(1178, 2556, 2556, 1178), (PicturePlace{1006, 0, 543, 1178}));
    EXPECT_EQ(containedPlace(640, 480, 1920, 1080), (PicturePlace{240, 0, 1440, 1080}));
    EXPECT_EQ(containedPlace(100, 100, 100, 100), (PicturePlace{0, 0, 100, 100}));
    EXPECT_EQ(containedPlace(5000, 1, 100, 100), (PicturePlace{0, 49, 100, 1}));
    for (int width = 1; width < 400; width += 7) {
        for (int height = 1; height < 400; height += 11) {
            const PicturePlace place = containedPlace(width, height, 160, 120);
            EXPECT_TRUE(place.width == 160 || place.height == 120);
            EXPECT_TRUE(place.x >= 0 && place.x + place.width <= 160 && place.y >= 0 && place.y + place.height <= 120);
        }
    }
}

// Four quarters in colours of their own.
std::shared_ptr<imaging::BgraPremultipliedBuffer> quartered(int width, int height) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* const pixel = picture->pixel(x, y);
            pixel[0] = x < width / 2 ? 50 : 200;
            pixel[1] = y < height / 2 ? 60 : 210;
            pixel[2] = 255;
            pixel[3] = 255;
        }
    }
    return picture;
}

TEST(PictureFitter, ATurnedPictureIsSeenWholeWithBlackAroundIt) {
    PictureFitter fitter(118, 256);
    const auto upright = quartered(118, 256);
    EXPECT_EQ(fitter.fit(upright), upright);
    const auto turned = fitter.fit(quartered(256, 118));
    ASSERT_EQ(turned->width(), 118);
    ASSERT_EQ(turned->height(), 256);
    const PicturePlace place = containedPlace(256, 118, 118, 256);
    EXPECT_EQ(place, (PicturePlace{0, 101, 118, 54}));
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 118; ++x) {
            const std::uint8_t* const pixel = turned->pixel(x, y);
            ASSERT_EQ(pixel[3], 255);
            const bool isInside = y >= place.y && y < place.y + place.height;
            ASSERT_NEAR(pixel[2], isInside ? 255 : 0, 2) << x << " " << y;
            // Away from where the quarters meet.
            const int row = y - place.y;
            if (!isInside || std::abs(x - 59) < 3 || std::abs(row - 27) < 3) continue;
            ASSERT_NEAR(pixel[0], x < 59 ? 50 : 200, 2) << x << " " << y;
            ASSERT_NEAR(pixel[1], row < 27 ? 60 : 210, 2) << x << " " << y;
        }
    }
}

TEST(PictureFitter, TheOddRowAndColumnGoAndTheRestStaysSharp) {
    PictureFitter fitter(10, 8);
    for (const auto& [width, height] : {std::pair(11, 9), std::pair(10, 9), std::pair(11, 8)}) {
        const auto fitted = fitter.fit(numbered(width, height));
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 10; ++x) {
                EXPECT_EQ(fitted->pixel(x, y)[0], x);
                EXPECT_EQ(fitted->pixel(x, y)[1], y);
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor::capture
