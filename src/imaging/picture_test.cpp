// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/picture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <variant>

#include "imaging/picture_node.h"

namespace lumivastor::imaging {
namespace {

std::shared_ptr<const BgraPremultipliedBuffer> buffer(int width, int height) {
    return std::make_shared<const BgraPremultipliedBuffer>(width, height);
}

TEST(Picture, NothingIsEmptyWhateverIsDoneWithIt) {
    const Picture nothing;
    const Picture square(buffer(4, 4));
    EXPECT_TRUE(nothing.isEmpty());
    EXPECT_EQ(Picture(std::shared_ptr<const BgraPremultipliedBuffer>()), nothing);
    EXPECT_EQ(Picture(buffer(0, 3)), nothing);
    EXPECT_EQ(Picture(YuvPicture{}), nothing);
    EXPECT_EQ(nothing.transformed(AffineTransform::scaling(2)), nothing);
    EXPECT_EQ(nothing.cropped({0, 0, 5, 5}), nothing);
    EXPECT_EQ(nothing.clampedToExtent(), nothing);
    EXPECT_EQ(nothing.pixellated({{0, 0, 5, 5}}, 3), nothing);
    EXPECT_EQ(nothing.blendedWithMatte(square), nothing);
    EXPECT_EQ(square.blendedWithMatte(nothing), nothing);
    EXPECT_EQ(nothing.faded(0.5), nothing);
    EXPECT_EQ(nothing.over(square), square);
    EXPECT_EQ(square.over(nothing), square);
    EXPECT_EQ(square.faded(0), nothing);
    EXPECT_EQ(square.faded(-1), nothing);
    EXPECT_EQ(square.cropped({10, 10, 5, 5}), nothing);
    EXPECT_EQ(square.transformed(AffineTransform::scaling(0)), nothing);
}

TEST(Picture, ExtentsFollowTheOperations) {
    const Picture square(buffer(4, 6));
    EXPECT_EQ(square.extent(), (Rect{0, 0, 4, 6}));
    EXPECT_EQ(square.transformed({2, 3, 1, -1}).extent(), (Rect{1, -1, 8, 18}));
    EXPECT_EQ(square.cropped({1, 1, 100, 2}).extent(), (Rect{1, 1, 3, 2}));
    EXPECT_EQ(square.over(square.transformed(AffineTransform::translation(10, 0))).extent(), (Rect{0, 0, 14, 6}));
    EXPECT_TRUE(isInfinite(square.clampedToExtent().extent()));
    EXPECT_TRUE(isInfinite(square.clampedToExtent().transformed(AffineTransform::scaling(2)).extent()));
    EXPECT_EQ(square.clampedToExtent().cropped({-3, -3, 2, 2}).extent(), (Rect{-3, -3, 2, 2}));
    EXPECT_EQ(square.pixellated({{1, 1, 9, 9}}, 5).extent(), (Rect{0, 0, 4, 6}));
    EXPECT_EQ(square.blendedWithMatte(Picture(buffer(2, 20))).extent(), (Rect{0, 0, 2, 6}));
}

TEST(Picture, EqualRecipesAreEqual) {
    const auto pixels = buffer(4, 4);
    const auto matte = buffer(8, 8);
    const auto recipe = [&](double scale, double alpha, double left) {
        const Picture source(pixels);
        return source.pixellated({{left, 0, 2, 2}}, 12)
            .clampedToExtent()
            .cropped({left, 0, 2, 2})
            .over(source)
            .transformed(AffineTransform::scaling(scale))
            .blendedWithMatte(Picture(matte))
            .faded(alpha);
    };
    EXPECT_EQ(recipe(2, 0.5, 1), recipe(2, 0.5, 1));
    EXPECT_NE(recipe(2, 0.5, 1), recipe(2.0000001, 0.5, 1));
    EXPECT_NE(recipe(2, 0.5, 1), recipe(2, 0.6, 1));
    EXPECT_NE(recipe(2, 0.5, 1), recipe(2, 0.5, 2));
}

TEST(Picture, EqualBuffersAreNotTheSameBuffer) {
    EXPECT_NE(Picture(buffer(4, 4)), Picture(buffer(4, 4)));
}

TEST(Picture, DecodedPicturesAreComparedByTheirSamples) {
    const std::uint8_t samples[6] = {};
    YuvPicture picture;
    picture.width = picture.height = 2;
    picture.luma = {samples, 2};
    picture.cb = {samples + 4, 1};
    picture.cr = {samples + 5, 1};
    YuvPicture other = picture;
    EXPECT_EQ(Picture(picture), Picture(other));
    other.encoding.range = YuvRange::full;
    EXPECT_NE(Picture(picture), Picture(other));
    other = picture;
    other.luma.samples = samples + 1;
    EXPECT_NE(Picture(picture), Picture(other));
}

TEST(Picture, TransformsInARowAreOne) {
    const Picture source(buffer(4, 4));
    const auto half = AffineTransform::scaling(0.5);
    EXPECT_EQ(source.transformed(half).transformed(half), source.transformed(AffineTransform::scaling(0.25)));
    EXPECT_EQ(source.transformed(half).transformed(AffineTransform::scaling(2)), source);
    EXPECT_EQ(source.transformed(AffineTransform::translation(1, 2)).transformed(AffineTransform::scaling(3)),
              source.transformed({3, 3, 3, 6}));
}

TEST(Picture, AreasOutsideOfThePictureAreNotPixellated) {
    const Picture square(buffer(4, 4));
    EXPECT_EQ(square.pixellated({}, 3), square);
    EXPECT_EQ(square.pixellated({{7, 1, 2, 2}, {-5, 0, 5, 4}}, 3), square);
    EXPECT_EQ(square.pixellated({{2, 2, 9, 9}, {9, 9, 1, 1}}, 3), square.pixellated({{2, 2, 2, 2}}, 3));
    EXPECT_NE(square.pixellated({{2, 2, 2, 2}}, 3), square.pixellated({{2, 2, 2, 2}}, 4));
    EXPECT_NE(square.pixellated({{0, 0, 2, 2}, {1, 1, 2, 2}}, 3), square.pixellated({{1, 1, 2, 2}, {0, 0, 2, 2}}, 3));
}

// A recipe that uses what it was a step before twice, and so its first picture 2^steps times.
Picture woven(const Picture& source, int steps, double alpha) {
    Picture picture = source;
    for (int i = 0; i < steps; ++i) picture = picture.faded(alpha).over(picture);
    return picture;
}

TEST(Picture, SharedPartsAreComparedOnce) {
    const Picture source(buffer(4, 4));
    constexpr int kSteps = 200;
    std::size_t comparisons = 0;
    EXPECT_TRUE(areEqual(woven(source, kSteps, 0.5), woven(source, kSteps, 0.5), comparisons));
    EXPECT_LE(comparisons, 2u * kSteps);
    EXPECT_NE(woven(source, kSteps, 0.5), woven(Picture(buffer(4, 4)), kSteps, 0.5));
    const Picture one = woven(source, kSteps, 0.5);
    comparisons = 0;
    EXPECT_TRUE(areEqual(one, one, comparisons));
    EXPECT_EQ(comparisons, 0u);
}

TEST(Picture, DeepRecipesAreComparedAndReleasedWithoutADeepStack) {
    const Picture source(buffer(4, 4));
    const auto deep = [&](double alpha) {
        Picture picture = source;
        for (int i = 0; i < 200000; ++i) picture = picture.faded(0.5);
        return picture.faded(alpha);
    };
    EXPECT_EQ(deep(0.5), deep(0.5));
    EXPECT_NE(deep(0.5), deep(0.25));
    // What somebody still holds stays whole.
    Picture kept;
    {
        const Picture above = deep(0.5);
        kept = std::get<FadeNode>(above.node().step).input;
    }
    EXPECT_EQ(kept.extent(), source.extent());
}

TEST(PictureDeathTest, MirroringAndEndlessNumbersAreMistakes) {
    const Picture source(buffer(4, 4));
    EXPECT_DEATH(source.transformed(AffineTransform::scaling(-1)), "mirrored");
    EXPECT_DEATH(source.transformed(AffineTransform::translation(1.0 / 0.0, 0)), "finite");
    EXPECT_DEATH(source.pixellated({{0, 0, 1, 1}}, 0), "size");
    EXPECT_DEATH(source.pixellated({{0.5, 0, 1, 1}}, 2), "whole pixels");
}

}  // namespace
}  // namespace lumivastor::imaging
