// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/gaussian_shadow.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace lumivastor::imaging {
namespace {

ConvexShape disc(double x, double y, double radius) {
    const auto spanAt = [=](double at) {
        const double half = std::sqrt(std::max(radius * radius - (at - y) * (at - y), 0.0));
        return RowSpan{x - half, x + half};
    };
    return {spanAt, x - radius, x + radius, y - radius, y + radius};
}

ConvexShape box(double left, double top, double right, double bottom) {
    const auto spanAt = [=](double at) { return at >= top && at <= bottom ? RowSpan{left, right} : RowSpan{}; };
    return {spanAt, left, right, top, bottom};
}

// How much of a unit step from -infinity to `x` a Gaussian shows.
double step(double x, double sigma) {
    return 0.5 * (1 + std::erf(x / (sigma * std::sqrt(2.0))));
}

TEST(GaussianShadow, ABoxIsWithinOneStepOfTheExactIntegralForEverySigma) {
    for (const double sigma : {2.0, 2.5, 4.0, 8.0, 17.0, 35.0, 70.0}) {
        BgraPremultipliedBuffer picture(240, 200);
        fillGaussianShadow(box(-30.25, 40.5, 150.75, 260), sigma, 0.55, picture);
        double worst = 0;
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 240; ++x) {
                const double across = step(x + 0.5 + 30.25, sigma) - step(x + 0.5 - 150.75, sigma);
                const double down = step(y + 0.5 - 40.5, sigma) - step(y + 0.5 - 260, sigma);
                worst = std::max(worst, std::abs(across * down * 0.55 * 255 - picture.pixel(x, y)[3]));
                ASSERT_EQ(picture.pixel(x, y)[0] | picture.pixel(x, y)[1] | picture.pixel(x, y)[2], 0);
            }
        }
        // Half a step is the rounding to whole numbers.
        EXPECT_LE(worst, 1.0) << "sigma " << sigma;
    }
}

TEST(GaussianShadow, ADiscIsWithinOneStepOfTheDirectSum) {
    for (const double sigma : {5.0, 17.0}) {
        constexpr int kSize = 160;
        BgraPremultipliedBuffer picture(kSize, kSize);
        fillGaussianShadow(disc(70.3, 85.6, 40), sigma, 1, picture);
        // Along a few lines, straight from the definition: the mean of the disc under the bell, row by row.
        for (int y = 3; y < kSize; y += 31) {
            for (int x = 0; x < kSize; ++x) {
                double sum = 0;
                for (double at = 45.6; at < 125.6; at += 0.25) {
                    const double half = std::sqrt(std::max(1600 - (at - 85.6) * (at - 85.6), 0.0));
                    const double bell = std::exp(-0.5 * (y + 0.5 - at) * (y + 0.5 - at) / (sigma * sigma));
                    sum += bell * (step(x + 0.5 - 70.3 + half, sigma) - step(x + 0.5 - 70.3 - half, sigma));
                }
                const double expected = 255 * 0.25 * sum / (sigma * std::sqrt(2 * 3.14159265358979));
                ASSERT_NEAR(picture.pixel(x, y)[3], expected, 1.0) << x << "," << y << " sigma " << sigma;
            }
        }
    }
}

TEST(GaussianShadow, ShapesOutOfReachLeaveNothing) {
    BgraPremultipliedBuffer picture(20, 20);
    fillGaussianShadow(box(500, 0, 600, 10), 8, 1, picture);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) ASSERT_EQ(picture.pixel(x, y)[3], 0);
    }
}

}  // namespace
}  // namespace lumivastor::imaging
