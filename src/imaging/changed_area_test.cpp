// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/changed_area.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "imaging/picture_pool.h"

namespace lumivastor::imaging {
namespace {

class TwoPictures {
  public:
    TwoPictures(int width, int height) : before_(width, height, {}), after_(width, height, {}) {
        for (PlanarBuffer* each : {&before_, &after_}) {
            const YuvDestination& to = each->destination();
            for (int y = 0; y < height; ++y) std::fill_n(to.luma + y * to.lumaStride, width, std::uint8_t{80});
            for (int y = 0; y < (height + 1) / 2; ++y) {
                std::fill_n(to.cb + y * to.chromaStride, (width + 1) / 2, std::uint8_t{90});
                std::fill_n(to.cr + y * to.chromaStride, (width + 1) / 2, std::uint8_t{100});
            }
        }
    }

    void setLuma(int x, int y) { at().luma[y * at().lumaStride + x] ^= 1; }
    void setCb(int x, int y) { at().cb[y * at().chromaStride + x] ^= 1; }
    void setCr(int x, int y) { at().cr[y * at().chromaStride + x] ^= 1; }

    KnownDamage changed() const { return changedArea(viewOf(before_), viewOf(after_)); }

    static YuvPicture viewOf(const PlanarBuffer& buffer) {
        const YuvDestination& from = buffer.destination();
        return {from.width,
                from.height,
                {from.luma, from.lumaStride},
                {from.cb, from.chromaStride},
                {from.cr, from.chromaStride},
                from.encoding,
                nullptr};
    }

  private:
    const YuvDestination& at() const { return after_.destination(); }

    PlanarBuffer before_, after_;
};

std::vector<PixelRect> rectsOf(const TwoPictures& pictures) {
    const KnownDamage damage = pictures.changed();
    if (!damage) return {{-1, -1, 0, 0}};
    return {damage->rects().begin(), damage->rects().end()};
}

TEST(ChangedArea, EqualPicturesDifferNowhere) {
    EXPECT_TRUE(rectsOf(TwoPictures(301, 99)).empty());
}

TEST(ChangedArea, OneSampleOfAnyPlaneMakesItsBlock) {
    for (const int plane : {0, 1, 2}) {
        TwoPictures pictures(640, 480);
        if (plane == 0) pictures.setLuma(130, 33);
        if (plane == 1) pictures.setCb(65, 16);
        if (plane == 2) pictures.setCr(95, 23);
        EXPECT_EQ(rectsOf(pictures), (std::vector<PixelRect>{{128, 32, 64, 16}})) << plane;
    }
}

TEST(ChangedArea, TheLastColumnsAndRowsOfOddSizesCount) {
    TwoPictures pictures(301, 99);
    pictures.setLuma(300, 98);
    EXPECT_EQ(rectsOf(pictures), (std::vector<PixelRect>{{256, 96, 45, 3}}));
    pictures.setLuma(300, 98);
    pictures.setCr(150, 49);
    EXPECT_EQ(rectsOf(pictures), (std::vector<PixelRect>{{256, 96, 45, 3}}));
}

TEST(ChangedArea, AreasThatAreApartStayApart) {
    TwoPictures pictures(2560, 1440);
    for (int y = 100; y < 400; ++y) pictures.setLuma(700, y);
    pictures.setLuma(2500, 1400);
    pictures.setLuma(5, 1400);
    auto rects = rectsOf(pictures);
    std::sort(rects.begin(), rects.end(), [](const PixelRect& a, const PixelRect& b) { return a.x < b.x; });
    EXPECT_EQ(rects, (std::vector<PixelRect>{{0, 1392, 64, 16}, {640, 96, 64, 304}, {2496, 1392, 64, 16}}));
}

TEST(ChangedArea, NoSampleIsMissedInRandomChanges) {
    std::mt19937 random(4);
    for (int round = 0; round < 60; ++round) {
        TwoPictures pictures(450, 330);
        std::vector<std::pair<int, int>> changed;
        for (int i = 0; i < round % 40; ++i) {
            changed.emplace_back(random() % 450, random() % 330);
            pictures.setLuma(changed.back().first, changed.back().second);
        }
        const KnownDamage damage = pictures.changed();
        if (!damage) continue;
        for (const auto& [x, y] : changed) {
            if (std::count(changed.begin(), changed.end(), std::pair{x, y}) % 2 == 0) continue;
            EXPECT_TRUE(
                std::any_of(damage->rects().begin(), damage->rects().end(), [x = x, y = y](const PixelRect& rect) {
                    return rect.contains({x, y, 1, 1});
                }));
        }
    }
}

TEST(ChangedArea, PicturesThatMostlyDifferDifferAnywhere) {
    TwoPictures pictures(640, 480);
    for (int y = 0; y < 480; y += 3) {
        for (int x = 0; x < 640; x += 7) pictures.setLuma(x, y);
    }
    EXPECT_EQ(pictures.changed(), std::nullopt);
}

TEST(ChangedArea, PicturesOfAnotherKindDifferAnywhere) {
    const PlanarBuffer one(64, 64, {});
    const PlanarBuffer larger(66, 64, {});
    EXPECT_EQ(changedArea(TwoPictures::viewOf(one), TwoPictures::viewOf(larger)), std::nullopt);
    YuvPicture other = TwoPictures::viewOf(one);
    other.encoding.range = YuvRange::full;
    EXPECT_EQ(changedArea(TwoPictures::viewOf(one), other), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::imaging
