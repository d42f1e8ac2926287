// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/studio_background.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "imaging/painting/background_planes.h"
#include "imaging/painting/painter.h"
#include "imaging/painting/prepared_layers.h"
#include "imaging/yuv_coefficients.h"

namespace lumivastor::imaging {
namespace {

// The tone that a new project has, and a darker one.
constexpr RgbColour kTones[] = {{0.13, 0.16, 0.21}, {0.04, 0.04, 0.05}};
constexpr int kWidth = 640;
constexpr int kHeight = 360;

using Exact = std::function<double(int x, int y)>;

// How far the mean of any 8 x 8 samples is from that of the exact values, and any sample from its exact value.
struct Deviation {
    double ofBlocks = 0;
    double ofSamples = 0;
};

Deviation deviation(const std::vector<std::uint8_t>& samples, int width, int height, const Exact& exact) {
    Deviation worst;
    for (int top = 0; top + 8 <= height; top += 3) {
        for (int left = 0; left + 8 <= width; left += 5) {
            double sum = 0;
            for (int y = top; y < top + 8; ++y) {
                for (int x = left; x < left + 8; ++x) {
                    const double off = samples[static_cast<std::size_t>(y * width + x)] - exact(x, y);
                    worst.ofSamples = std::max(worst.ofSamples, std::abs(off));
                    sum += off;
                }
            }
            worst.ofBlocks = std::max(worst.ofBlocks, std::abs(sum) / 64);
        }
    }
    return worst;
}

struct Planes {
    std::vector<std::uint8_t> luma, blue, red;

    Planes(Painter& painter, const Picture& picture, const YuvEncoding& encoding)
        : luma(kWidth * kHeight), blue(luma.size() / 4), red(blue.size()) {
        painter.paint(picture, {kWidth, kHeight, luma.data(), kWidth, blue.data(), red.data(), kWidth / 2, encoding});
    }
};

TEST(StudioBackground, ThePlanesOfAFilmFollowTheGradientBetweenTheirValues) {
    Painter painter(2);
    for (const RgbColour& tone : kTones) {
        for (const YuvRange range : {YuvRange::limited, YuvRange::full}) {
            const auto background = std::make_shared<const StudioBackground>(kWidth, kHeight, tone);
            const YuvEncoding encoding{YuvMatrix::bt709, range};
            const YuvCoefficients yuv(encoding);
            const Planes planes(painter, Picture(background), encoding);
            const auto colourAt = [&](double x, double y) {
                const RgbColour colour = background->colourAt(x, y);
                return RgbColour{colour.red * 255, colour.green * 255, colour.blue * 255};
            };
            const Exact exactLuma = [&](int x, int y) {
                const RgbColour colour = colourAt(x + 0.5, y + 0.5);
                return yuv.luma(colour.red, colour.green, colour.blue) + yuv.lumaOffset;
            };
            const Deviation luma = deviation(planes.luma, kWidth, kHeight, exactLuma);
            EXPECT_LE(luma.ofBlocks, 0.15);
            EXPECT_LE(luma.ofSamples, 1.02);
            // What rounding to the nearest value would do: the measure sees bands.
            std::vector<std::uint8_t> banded;
            for (int i = 0; i < kWidth * kHeight; ++i) {
                banded.push_back(static_cast<std::uint8_t>(std::lround(exactLuma(i % kWidth, i / kWidth))));
            }
            EXPECT_GE(deviation(banded, kWidth, kHeight, exactLuma).ofBlocks, 0.3);
            const Deviation blue = deviation(planes.blue, kWidth / 2, kHeight / 2, [&](int x, int y) {
                const RgbColour colour = colourAt(2 * x + 0.5, 2 * y + 1);
                return yuv.cb(colour.red, colour.green, colour.blue) + 128;
            });
            EXPECT_LE(blue.ofBlocks, 0.15);
            EXPECT_LE(blue.ofSamples, 1.02);
            const Deviation red = deviation(planes.red, kWidth / 2, kHeight / 2, [&](int x, int y) {
                const RgbColour colour = colourAt(2 * x + 0.5, 2 * y + 1);
                return yuv.cr(colour.red, colour.green, colour.blue) + 128;
            });
            EXPECT_LE(red.ofBlocks, 0.15);
            EXPECT_LE(red.ofSamples, 1.02);
        }
    }
}

TEST(StudioBackground, AShadowOverItLeavesNoBandsEither) {
    Painter painter(1);
    for (const RgbColour& tone : kTones) {
        const auto background = std::make_shared<const StudioBackground>(kWidth, kHeight, tone);
        const auto shadow = std::make_shared<const BgraPremultipliedBuffer>(
            makeRoundedShadow(kWidth, kHeight, {120, 80, 400, 220}, 26, kScreenShadow));
        const Planes planes(painter, Picture(shadow).over(Picture(background)), {});
        const YuvCoefficients yuv{YuvEncoding{}};
        const Deviation luma = deviation(planes.luma, kWidth, kHeight, [&](int x, int y) {
            const RgbColour colour = background->colourAt(x + 0.5, y + 0.5);
            const double light = yuv.luma(colour.red * 255, colour.green * 255, colour.blue * 255);
            return light * (1 - shadow->pixel(x, y)[3] / 255.0) + yuv.lumaOffset;
        });
        EXPECT_LE(luma.ofBlocks, 0.3);
        EXPECT_LE(luma.ofSamples, 1.1);
    }
}

TEST(StudioBackground, ItsPixelsFollowTheGradientToo) {
    const StudioBackground background(kWidth, kHeight, kTones[0]);
    std::vector<std::uint8_t> green(kWidth * kHeight);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            green[static_cast<std::size_t>(y * kWidth + x)] = background.pixels().pixel(x, y)[1];
    }
    const Deviation deviationOfGreen = deviation(
        green, kWidth, kHeight, [&](int x, int y) { return background.colourAt(x + 0.5, y + 0.5).green * 255; });
    EXPECT_LE(deviationOfGreen.ofBlocks, 0.15);
    EXPECT_LE(deviationOfGreen.ofSamples, 1.02);
}

TEST(StudioBackground, ItIsTheSameInEveryFrame) {
    const auto background = std::make_shared<const StudioBackground>(kWidth, kHeight, kTones[0]);
    Painter first(1);
    Painter second(3);
    const Planes once(first, Picture(background), {});
    for (int again = 0; again < 2; ++again) {
        const Planes other(second, Picture(std::make_shared<const StudioBackground>(kWidth, kHeight, kTones[0])), {});
        EXPECT_EQ(once.luma, other.luma);
        EXPECT_EQ(once.blue, other.blue);
        EXPECT_EQ(once.red, other.red);
    }
}

TEST(StudioBackground, WhereTheGradientIsLimitedItIsFlat) {
    // Even the dark end is beyond white.
    const StudioBackground background(64, 64, {2, 2, 2});
    const SourcePlanes luma = lumaOf(background, {});
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            const int level = luma.levels[0][static_cast<std::size_t>(y * luma.stride + x)];
            ASSERT_EQ((level + 16) >> 5, 219) << x << ", " << y;
            ASSERT_EQ(background.pixels().pixel(x, y)[2], 255);
        }
    }
}

}  // namespace
}  // namespace lumivastor::imaging
