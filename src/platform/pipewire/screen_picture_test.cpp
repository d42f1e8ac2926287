// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_picture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace lumivastor::pipewire {
namespace {

// Of 5 by 4 pixels with rows of 24 bytes; the first byte is the column, the second the row, the third 100.
class ScreenPictureCopy : public testing::TestWithParam<bool> {
  protected:
    ScreenPictureCopy() {
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x) {
                std::uint8_t* pixel = &bytes_[static_cast<std::size_t>(y * 24 + x * 4)];
                pixel[0] = static_cast<std::uint8_t>(x);
                pixel[1] = static_cast<std::uint8_t>(y);
                pixel[2] = 100;
                pixel[3] = 7;
            }
        }
        picture_.pixels = bytes_.data();
        picture_.stride = 24;
        picture_.crop = {0, 0, 5, 4};
        picture_.isRedFirst = GetParam();
    }

    std::vector<int> expected(int x, int y) const {
        return picture_.isRedFirst ? std::vector<int>{100, y, x, 255} : std::vector<int>{x, y, 100, 255};
    }

    std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(24 * 4);
    ScreenPicture picture_;
};

INSTANTIATE_TEST_SUITE_P(BlueOrRedFirst, ScreenPictureCopy, testing::Bool());

TEST_P(ScreenPictureCopy, TurnsWhatIsNotUpright) {
    for (std::uint32_t number = 0; number < 8; ++number) {
        picture_.turn = platform::pictureTurn(number);
        const auto [width, height] = picture_.size();
        const auto at = platform::placeInBuffer({5, 4}, picture_.turn);
        const PixelRect part{1, 0, width - 1, height - 1};
        imaging::BgraPremultipliedBuffer target(width, height);
        copyOpaque(picture_, part, target);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const bool isCopied = x >= 1 && y < height - 1;
                const auto source = expected(at.x0 + x * at.xx + y * at.xy, at.y0 + x * at.yx + y * at.yy);
                const std::uint8_t* found = target.pixel(x, y);
                EXPECT_EQ(std::vector<int>(found, found + 4), isCopied ? source : std::vector<int>(4, 0))
                    << x << ", " << y << " turned by " << number;
            }
        }
    }
}

TEST_P(ScreenPictureCopy, CopiesAPartOpaqueAndNothingElse) {
    // Parts that lie within, reach over each edge, or lie outside.
    for (const PixelRect part : {PixelRect{0, 0, 5, 4}, PixelRect{1, 2, 3, 1}, PixelRect{-2, -2, 4, 4},
                                 PixelRect{3, 2, 100, 100}, PixelRect{9, 9, 1, 1}, PixelRect{}}) {
        for (const PixelSize size : {PixelSize{5, 4}, PixelSize{3, 2}, PixelSize{8, 8}}) {
            imaging::BgraPremultipliedBuffer target(size.width, size.height);
            copyOpaque(picture_, part, target);
            for (int y = 0; y < size.height; ++y) {
                for (int x = 0; x < size.width; ++x) {
                    const bool isCopied =
                        x < 5 && y < 4 && x >= part.x && y >= part.y && x < part.maxX() && y < part.maxY();
                    const std::uint8_t* found = target.pixel(x, y);
                    EXPECT_EQ(std::vector<int>(found, found + 4), isCopied ? expected(x, y) : std::vector<int>(4, 0))
                        << x << ", " << y;
                }
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor::pipewire
