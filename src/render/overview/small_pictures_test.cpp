// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/small_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "imaging/painting/painter.h"
#include "imaging/picture_pool.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::render {
namespace {

TEST(SmallPictures, KeepTheAspectRatioAndNeverGrow) {
    EXPECT_EQ(smallPictureSize({2560, 1440}), (PixelSize{128, 72}));
    EXPECT_EQ(smallPictureSize({1080, 1920}), (PixelSize{41, 72}));
    EXPECT_EQ(smallPictureSize({64, 40}), (PixelSize{64, 40}));
    EXPECT_EQ(smallPictureSize({2, 4000}), (PixelSize{1, 72}));
}

TEST(SmallPictures, AreTheMeanOfWhatTheyCover) {
    for (const auto matrix : {imaging::YuvMatrix::bt601, imaging::YuvMatrix::bt709}) {
        for (const auto range : {imaging::YuvRange::limited, imaging::YuvRange::full}) {
            // Left half red, right half stripes of black and white.
            auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(200, 120);
            for (int y = 0; y < 120; ++y) {
                for (int x = 0; x < 200; ++x) {
                    std::uint8_t* const pixel = picture->pixel(x, y);
                    const bool isRed = x < 100;
                    const std::uint8_t stripe = x % 2 == 0 ? 255 : 0;
                    pixel[0] = pixel[1] = isRed ? 0 : stripe;
                    pixel[2] = isRed ? 255 : stripe;
                    pixel[3] = 255;
                }
            }
            auto planar = std::make_shared<imaging::PlanarBuffer>(200, 120, imaging::YuvEncoding{matrix, range});
            imaging::Painter(1).paint(imaging::Picture(picture), planar->destination());
            const auto& to = planar->destination();
            const imaging::YuvPicture samples{
                200,         120,   {to.luma, to.lumaStride}, {to.cb, to.chromaStride}, {to.cr, to.chromaStride},
                to.encoding, planar};
            const auto small = shrunk(samples, {20, 12});
            for (const int y : {0, 5, 11}) {
                const std::uint8_t* const red = small->pixel(4, y);
                EXPECT_NEAR(red[2], 255, 3);
                EXPECT_NEAR(red[1], 0, 3);
                EXPECT_NEAR(red[0], 0, 3);
                EXPECT_EQ(red[3], 255);
                for (int channel = 0; channel < 3; ++channel) EXPECT_NEAR(small->pixel(15, y)[channel], 127, 4);
            }
        }
    }
}

TEST(SmallPictures, AnOddPictureCanBeShrunkToAnySize) {
    auto planar = std::make_shared<imaging::PlanarBuffer>(37, 11, imaging::YuvEncoding{});
    const auto& to = planar->destination();
    const imaging::YuvPicture samples{
        37, 11, {to.luma, to.lumaStride}, {to.cb, to.chromaStride}, {to.cr, to.chromaStride}, to.encoding, planar};
    for (const PixelSize size : {PixelSize{1, 1}, PixelSize{37, 11}, PixelSize{36, 10}, PixelSize{3, 11}}) {
        const auto small = shrunk(samples, size);
        EXPECT_EQ(small->width(), size.width);
        EXPECT_EQ(small->height(), size.height);
    }
}

std::vector<media::IndexedSample> keyEvery(double distance, double duration) {
    std::vector<media::IndexedSample> samples;
    for (double t = 0; t < duration; t += distance) {
        samples.push_back({MediaTime::fromSeconds(t, 60'000), 1000, true});
        samples.push_back({MediaTime::fromSeconds(t + distance / 2, 60'000), 100, false});
    }
    return samples;
}

TEST(SmallPictures, OrderBeginsWithAFewFarApartAndNamesEachOnce) {
    const auto samples = keyEvery(2, 600);
    const auto order = smallPictureOrder(samples, 600);
    EXPECT_EQ(order.size(), 300U);
    EXPECT_EQ(std::set(order.begin(), order.end()).size(), order.size());
    for (const std::size_t each : order) EXPECT_TRUE(samples[each].isKey);
    const std::vector<std::size_t> first(order.begin(), order.begin() + 19);
    EXPECT_TRUE(std::is_sorted(first.begin(), first.end()));
    EXPECT_EQ(first.front(), 0U);
    EXPECT_GT(samples[first.back()].decodeTime.seconds(), 570);
}

TEST(SmallPictures, AreLimitedAndSpread) {
    for (const double duration : {800.0, 3600.0, 3 * 3600.0}) {
        for (const double distance : {0.05, 2.0, 10.0}) {
            const auto samples = keyEvery(distance, duration);
            const auto order = smallPictureOrder(samples, duration);
            EXPECT_LE(order.size(), 401U);
            double last = 0;
            for (const std::size_t each : order) last = std::max(last, samples[each].decodeTime.seconds());
            EXPECT_GT(last, duration * 0.97);
        }
    }
    EXPECT_TRUE(smallPictureOrder({}, 100).empty());
    EXPECT_LE(smallPictureOrder(keyEvery(2, 9000), 1).size(), 401U) << "a length that is wrong";
}

TEST(RecordingOverview, ThePictureAtATimeIsTheLatestUpToIt) {
    RecordingOverview overview;
    EXPECT_EQ(overview.pictureAt(3), nullptr);
    overview.pictures = {{1, nullptr}, {4, nullptr}};
    EXPECT_EQ(overview.pictureAt(0)->seconds, 1);
    EXPECT_EQ(overview.pictureAt(3.9)->seconds, 1);
    EXPECT_EQ(overview.pictureAt(4)->seconds, 4);
    EXPECT_EQ(overview.pictureAt(1e9)->seconds, 4);
}

}  // namespace
}  // namespace lumivastor::render
