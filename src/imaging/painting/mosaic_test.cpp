// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/mosaic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <vector>

namespace lumivastor::imaging {
namespace {

using Buffer = BgraPremultipliedBuffer;
using Mean = std::array<int, 4>;  // 8 bits of fraction

void oneAfterTheOther(int count, const std::function<void(int)>& work) {
    for (int i = 0; i < count; ++i) work(i);
}

// Shows parts of a picture and remembers them.
struct Shown {
    Buffer picture;
    std::vector<MosaicRect> parts;

    template <typename Value>
    Shown(int width, int height, Value value) : picture(width, height) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                for (int i = 0; i < 4; ++i) at(x, y)[i] = static_cast<std::uint8_t>(value(x, y, i));
            }
        }
    }
    // From the bottom.
    std::uint8_t* at(int x, int y) { return picture.pixel(x, picture.height() - 1 - y); }
    MosaicRect bounds() const { return {0, 0, picture.width(), picture.height()}; }

    ShowGround show() {
        return [this](const MosaicRect& part) {
            parts.push_back(part);
            Buffer pixels(part.width(), part.height());
            for (int y = 0; y < part.height(); ++y) {
                const std::uint8_t* const from = at(part.left, part.top - 1 - y);
                std::copy_n(from, static_cast<std::size_t>(part.width()) * 4, pixels.row(y));
            }
            return pixels;
        };
    }
};

Mean meanAt(const Mosaics& mosaics, std::size_t area, int column, int row) {
    const Mosaic& mosaic = mosaics.areas[area];
    const auto& mean = mosaic.means[static_cast<std::size_t>(row * mosaic.columns + column)];
    return {mean[0], mean[1], mean[2], mean[3]};
}

TEST(Mosaic, SquaresAverageEachChannelByItself) {
    Shown shown(4, 4, [](int x, int y, int i) { return i == 3 ? 255 : 10 * x + 20 * y + i; });
    const Mosaics mosaics = makeMosaics({shown.bounds(), {{0, 0, 4, 4}}, 2}, shown.show(), oneAfterTheOther);
    ASSERT_EQ(mosaics.squares(), 4u);
    const auto of = [](int value) { return Mean{value * 256, (value + 1) * 256, (value + 2) * 256, 255 * 256}; };
    EXPECT_EQ(meanAt(mosaics, 0, 0, 0), of(15));
    EXPECT_EQ(meanAt(mosaics, 0, 1, 0), of(35));
    EXPECT_EQ(meanAt(mosaics, 0, 0, 1), of(55));
    EXPECT_EQ(meanAt(mosaics, 0, 1, 1), of(75));
    // The picture of them has its top row first.
    const SourcePlanes planes = planesOf(mosaics.areas[0]);
    EXPECT_EQ(planes.width, 2);
    EXPECT_EQ(planes.blue[0], 55);
    EXPECT_EQ(planes.red[1], 77);
    EXPECT_TRUE(planes.opaque);
}

TEST(Mosaic, PlanesOfLumaAndChromaAreRoundedOnce) {
    // Two greys whose mean lies between two values of 255.
    Shown shown(2, 1, [](int x, int, int i) { return i == 3 ? 255 : x == 0 ? 100 : 103; });
    const Mosaics mosaics = makeMosaics({shown.bounds(), {{0, 0, 1, 1}}, 2}, shown.show(), oneAfterTheOther);
    const YuvEncoding full{YuvMatrix::bt709, YuvRange::full};
    EXPECT_EQ(lumaOf(mosaics.areas[0], full).blue[0], 102);
    EXPECT_EQ(lumaOf(mosaics.areas[0], {}).blue[0], 87);  // 101.5 * 219 / 255 = 87.2
    EXPECT_EQ(chromaOf(mosaics.areas[0], full).blue[0], 128);
    EXPECT_EQ(chromaOf(mosaics.areas[0], full).green[0], 128);
}

TEST(Mosaic, SquaresReachBeyondTheirAreaAndThePicturesEdge) {
    Shown shown(5, 1, [](int x, int, int) { return 10 * x; });
    const Mosaics mosaics =
        makeMosaics({shown.bounds(), {{0, 0, 1, 1}, {3, 0, 4, 1}}, 3}, shown.show(), oneAfterTheOther);
    // The first sees 0, 10 and 20, three times because there is one row only; the second 30, 40 and 40 once more.
    EXPECT_EQ(meanAt(mosaics, 0, 0, 0)[0], 10 * 256);
    EXPECT_NEAR(meanAt(mosaics, 1, 0, 0)[0], 110 * 256 / 3.0, 0.5);
}

// The same by replacing the pixels of a copy, one area after the other.
std::vector<std::vector<Mean>> replacing(const MosaicPlan& plan, Shown& shown) {
    const int width = plan.bounds.width();
    const int height = plan.bounds.height();
    std::vector<Mean> pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::uint8_t* const pixel = shown.at(x, y);
            pixels.push_back({pixel[0] * 256, pixel[1] * 256, pixel[2] * 256, pixel[3] * 256});
        }
    }
    const auto place = [&](int x, int y) {
        return static_cast<std::size_t>(std::min(y, height - 1) * width + std::min(x, width - 1));
    };
    std::vector<std::vector<Mean>> all;
    for (const MosaicRect& area : plan.areas) {
        const std::vector<Mean> before = pixels;
        all.emplace_back();
        for (int bottom = area.bottom; bottom < area.top; bottom += plan.side) {
            for (int left = area.left; left < area.right; left += plan.side) {
                std::array<std::int64_t, 4> sums{};
                for (int y = bottom; y < bottom + plan.side; ++y) {
                    for (int x = left; x < left + plan.side; ++x) {
                        for (std::size_t i = 0; i < 4; ++i) sums[i] += before[place(x, y)][i];
                    }
                }
                Mean mean{};
                const std::int64_t count = std::int64_t{plan.side} * plan.side;
                for (std::size_t i = 0; i < 4; ++i) mean[i] = static_cast<int>((sums[i] + count / 2) / count);
                all.back().push_back(mean);
                for (int y = bottom; y < std::min(bottom + plan.side, area.top); ++y) {
                    for (int x = left; x < std::min(left + plan.side, area.right); ++x) pixels[place(x, y)] = mean;
                }
            }
        }
    }
    return all;
}

TEST(Mosaic, ALaterAreaAveragesWhatTheEarlierOnesLeave) {
    std::mt19937 random(5);
    const auto between = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    for (int round = 0; round < 60; ++round) {
        Shown shown(between(1, 300), between(1, 60), [&](int, int, int i) { return i == 3 ? 255 : between(0, 255); });
        MosaicPlan plan{shown.bounds(), {}, between(1, 19)};
        for (int i = between(1, 12); i > 0; --i) {
            const int left = between(0, plan.bounds.right - 1);
            const int bottom = between(0, plan.bounds.top - 1);
            plan.areas.push_back(
                {left, bottom, between(left + 1, plan.bounds.right), between(bottom + 1, plan.bounds.top)});
        }
        const Mosaics mosaics = makeMosaics(plan, shown.show(), oneAfterTheOther);
        const auto expected = replacing(plan, shown);
        for (std::size_t area = 0; area < plan.areas.size(); ++area) {
            const Mosaic& mosaic = mosaics.areas[area];
            ASSERT_EQ(mosaic.means.size(), expected[area].size());
            for (int row = 0; row < mosaic.rows; ++row) {
                for (int column = 0; column < mosaic.columns; ++column) {
                    ASSERT_EQ(meanAt(mosaics, area, column, row),
                              expected[area][static_cast<std::size_t>(row * mosaic.columns + column)])
                        << "round " << round << ", area " << area;
                }
            }
        }
    }
}

std::int64_t pixelsIn(const std::vector<MosaicRect>& parts) {
    std::int64_t count = 0;
    for (const MosaicRect& part : parts) count += std::int64_t{part.width()} * part.height();
    return count;
}

TEST(Mosaic, PixelsUnderManyAreasAreShownOnce) {
    Shown shown(300, 200, [](int x, int y, int) { return (x + y) % 256; });
    MosaicPlan plan{shown.bounds(), {}, 12};
    for (int i = 0; i < 32; ++i) plan.areas.push_back({10 + i, 20 + i, 130 + i, 100 + i});
    makeMosaics(plan, shown.show(), oneAfterTheOther);
    EXPECT_EQ(shown.parts.size(), 1u);
    EXPECT_LE(pixelsIn(shown.parts), (120 + 31 + 12) * (80 + 31 + 12));
}

TEST(Mosaic, WhatLiesBetweenFarAreasIsNotShown) {
    Shown shown(300, 200, [](int x, int y, int) { return (x + y) % 256; });
    makeMosaics({shown.bounds(), {{0, 0, 24, 12}, {276, 188, 300, 200}}, 12}, shown.show(), oneAfterTheOther);
    EXPECT_EQ(pixelsIn(shown.parts), 2 * 24 * 12);
}

TEST(Mosaic, SquaresThatALaterAreaHidesAreNotConverted) {
    // Half of the picture is transparent.
    Shown shown(100, 60, [](int x, int, int i) { return i == 3 ? (x < 50 ? 255 : 0) : x < 50 ? 100 : 0; });
    const MosaicPlan plan{shown.bounds(), {{0, 0, 100, 60}, {3, 2, 48, 55}, {10, 10, 20, 20}, {40, 0, 100, 60}}, 5};
    const Mosaics mosaics = makeMosaics(plan, shown.show(), oneAfterTheOther);
    ASSERT_TRUE(mosaics.areas[1].isOpaque && !mosaics.areas[3].isOpaque);
    const MosaicRect all = shown.bounds();
    EXPECT_EQ(mosaics.hiddenSquares(0, all, 0), (MosaicRect{1, 1, 9, 11}));
    EXPECT_EQ(mosaics.hiddenSquares(0, all, 4), (MosaicRect{2, 2, 8, 10}));
    EXPECT_TRUE(mosaics.hiddenSquares(0, all, 30).isEmpty()) << "a sample reaches across the whole area";
    EXPECT_EQ(mosaics.hiddenSquares(1, all, 0), (MosaicRect{2, 2, 3, 3}))
        << "what is above counts, what is below does not";
    EXPECT_EQ(mosaics.hiddenSquares(0, {0, 0, 100, 50}, 0), (MosaicRect{1, 1, 9, 10})) << "cut off above";
    EXPECT_TRUE(mosaics.hiddenSquares(2, all, 0).isEmpty()) << "of what is not opaque everything shows through";

    const MosaicRect hidden = mosaics.hiddenSquares(0, all, 0);
    const SourcePlanes whole = lumaOf(mosaics.areas[0], {});
    const SourcePlanes some = lumaOf(mosaics.areas[0], {}, hidden);
    for (int row = 0; row < 12; ++row) {
        for (int column = 0; column < 20; ++column) {
            const auto at = static_cast<std::size_t>((11 - row) * some.stride + column);
            const bool isHidden =
                column >= hidden.left && column < hidden.right && row >= hidden.bottom && row < hidden.top;
            EXPECT_EQ(some.blue[at], isHidden ? 0 : whole.blue[at]) << column << ", " << row;
        }
    }
}

TEST(Mosaic, LargeAreasAreSharedOutByTheirRows) {
    Shown shown(400, 300, [](int x, int y, int) { return (x * y) % 256; });
    int rows = 0;
    const MosaicPlan plan{shown.bounds(), {{0, 0, 400, 300}}, 10};
    const Mosaics backwards = makeMosaics(plan, shown.show(), [&](int count, const std::function<void(int)>& work) {
        rows += count;
        for (int i = count; i > 0; --i) work(i - 1);
    });
    EXPECT_EQ(rows, 30);
    EXPECT_EQ(backwards.areas[0].means, makeMosaics(plan, shown.show(), oneAfterTheOther).areas[0].means);
}

}  // namespace
}  // namespace lumivastor::imaging
