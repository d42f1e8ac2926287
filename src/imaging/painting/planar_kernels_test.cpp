// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/planar_kernels.h"

#include <gtest/gtest.h>

#include <hwy/highway.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace lumivastor::imaging {
namespace {

// A planar picture with room around every row, which must not be touched.
struct Planes {
    Planes(int width, int height, const YuvEncoding& encoding) {
        const int chromaWidth = (width + 1) / 2;
        const int chromaHeight = (height + 1) / 2;
        destination.width = width;
        destination.height = height;
        destination.lumaStride = width + 5;
        destination.chromaStride = chromaWidth + 3;
        destination.encoding = encoding;
        luma.assign(static_cast<std::size_t>((width + 5) * height), 7);
        blue.assign(static_cast<std::size_t>((chromaWidth + 3) * chromaHeight), 7);
        red = blue;
        destination.luma = luma.data();
        destination.cb = blue.data();
        destination.cr = red.data();
    }
    Planes(const Planes&) = delete;
    Planes& operator=(const Planes&) = delete;

    std::vector<std::uint8_t> luma;
    std::vector<std::uint8_t> blue;
    std::vector<std::uint8_t> red;
    YuvDestination destination;
};

int largestDifference(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    int largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

TEST(PlanarKernels, AreWithinOneOfThePlainWordsOnEveryInstructionSet) {
    std::mt19937 random(17);
    const std::vector<YuvEncoding> encodings{{YuvMatrix::bt709, YuvRange::limited},
                                             {YuvMatrix::bt709, YuvRange::full},
                                             {YuvMatrix::bt601, YuvRange::limited},
                                             {YuvMatrix::bt601, YuvRange::full}};
    std::vector<int> sizes{1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 130};
    for (const int width : sizes) {
        for (const int height : {1, 2, 5, 6}) {
            for (const YuvEncoding& encoding : encodings) {
                BgraPremultipliedBuffer source(width, height);
                const bool extremes = random() % 2 == 0;
                for (int y = 0; y < height; ++y) {
                    for (int i = 0; i < width * 4; ++i) {
                        const auto value = static_cast<std::uint8_t>(random());
                        source.row(y)[i] = extremes ? static_cast<std::uint8_t>(value < 128 ? 0 : 255) : value;
                    }
                }
                const Planes expected(width, height, encoding);
                convertToPlanarPlainly(source, expected.destination);
                for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
                    hwy::SetSupportedTargetsForTest(target);
                    const Planes actual(width, height, encoding);
                    convertToPlanar(source, actual.destination);
                    const std::string what =
                        std::to_string(width) + " x " + std::to_string(height) + " on " + hwy::TargetName(target);
                    EXPECT_LE(largestDifference(actual.luma, expected.luma), 1) << what;
                    EXPECT_LE(largestDifference(actual.blue, expected.blue), 1) << what;
                    EXPECT_LE(largestDifference(actual.red, expected.red), 1) << what;
                    hwy::SetSupportedTargetsForTest(0);
                }
            }
        }
    }
}

TEST(PlanarKernels, GreysAreExactlyGreyWhateverTheAlpha) {
    BgraPremultipliedBuffer source(256, 4);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 256; ++x) {
            std::uint8_t* const pixel = source.pixel(x, y);
            pixel[0] = pixel[1] = pixel[2] = static_cast<std::uint8_t>(x);
            pixel[3] = static_cast<std::uint8_t>(y * 85);
        }
    }
    const Planes target(256, 4, {});
    convertToPlanar(source, target.destination);
    const YuvDestination& planes = target.destination;
    for (int x = 0; x < 256; ++x) {
        EXPECT_NEAR(planes.luma[x], 16 + x * 219.0 / 255, 0.51) << x;
        EXPECT_EQ(planes.luma[3 * planes.lumaStride + x], planes.luma[x]);
        EXPECT_EQ(planes.cb[x / 2], 128);
        EXPECT_EQ(planes.cr[x / 2], 128);
    }
}

TEST(PlanarKernels, AnAreaIsExactlyAsInTheWhole) {
    std::mt19937 random(23);
    const auto pick = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    for (int round = 0; round < 300; ++round) {
        const int width = 1 + pick(150);
        const int height = 1 + pick(12);
        BgraPremultipliedBuffer source(width, height);
        for (int y = 0; y < height; ++y) {
            for (int i = 0; i < width * 4; ++i) source.row(y)[i] = static_cast<std::uint8_t>(pick(256));
        }
        const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
        hwy::SetSupportedTargetsForTest(targets[static_cast<std::size_t>(pick(static_cast<int>(targets.size())))]);
        const Planes planes(width, height, {});
        convertToPlanar(source, planes.destination);
        for (int step = 0; step < 5; ++step) {
            // Partly beyond the edges.
            const PixelRect changed{pick(width + 4) - 2, pick(height + 4) - 2, 1 + pick(20), 1 + pick(4)};
            const PixelRect seen = intersection(changed, {0, 0, width, height});
            for (int y = seen.y; y < seen.maxY(); ++y) {
                for (int i = seen.x * 4; i < seen.maxX() * 4; ++i)
                    source.row(y)[i] = static_cast<std::uint8_t>(pick(256));
            }
            const PixelRect area = convertedArea(changed, width, height);
            ASSERT_EQ(area.isEmpty(), seen.isEmpty());
            if (!area.isEmpty()) convertToPlanar(source, planes.destination, area);
            const Planes whole(width, height, {});
            convertToPlanar(source, whole.destination);
            ASSERT_EQ(planes.luma, whole.luma) << width << " x " << height;
            ASSERT_EQ(planes.blue, whole.blue) << width << " x " << height;
            ASSERT_EQ(planes.red, whole.red) << width << " x " << height;
        }
        hwy::SetSupportedTargetsForTest(0);
    }
}

}  // namespace
}  // namespace lumivastor::imaging
