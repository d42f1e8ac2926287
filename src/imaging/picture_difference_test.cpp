// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/picture_difference.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::imaging {
namespace {

constexpr PixelSize kCanvas{400, 300};

std::shared_ptr<const BgraPremultipliedBuffer> buffer(int width, int height) {
    return std::make_shared<const BgraPremultipliedBuffer>(width, height);
}

// A decoded picture; `earlier` and `area`: of what it says about its change.
YuvPicture decoded(const YuvPicture* earlier = nullptr, const PixelRect& area = {}, int width = 200, int height = 100) {
    auto samples = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width * height * 3 / 2));
    YuvPicture picture;
    picture.width = width;
    picture.height = height;
    picture.luma = {samples->data(), width};
    picture.cb = picture.cr = {samples->data() + width * height, width / 2};
    picture.owner = samples;
    if (earlier != nullptr) {
        DamageArea damage;
        damage.add(area);
        picture.change = std::make_shared<const YuvChange>(YuvChange{earlier->owner, damage});
    }
    return picture;
}

std::vector<PixelRect> rectsOf(const KnownDamage& damage) {
    if (!damage) {
        ADD_FAILURE() << "anywhere";
        return {};
    }
    return {damage->rects().begin(), damage->rects().end()};
}

// The only piece, which lies around `inside` and reaches no further than `margin` beyond it.
void expectAround(const KnownDamage& damage, const PixelRect& inside, int margin) {
    const auto rects = rectsOf(damage);
    ASSERT_EQ(rects.size(), 1u);
    const PixelRect most{inside.x - margin, inside.y - margin, inside.width + 2 * margin, inside.height + 2 * margin};
    EXPECT_TRUE(rects[0].contains(inside));
    EXPECT_TRUE(most.contains(rects[0])) << rects[0].x << "," << rects[0].y << " " << rects[0].width << " x "
                                         << rects[0].height;
}

struct Scene {
    Picture ground{buffer(400, 300)};
    Picture shape{buffer(20, 10)};
    Picture other{buffer(30, 30)};

    Picture with(double x, double y) const {
        return shape.transformed(AffineTransform::translation(x, y)).over(ground);
    }
};

TEST(PictureDifference, EqualRecipesDifferNowhere) {
    const Scene scene;
    EXPECT_TRUE(differenceOf(scene.with(3, 4), scene.with(3, 4), kCanvas).value().isEmpty());
    EXPECT_TRUE(differenceOf({}, {}, kCanvas).value().isEmpty());
}

TEST(PictureDifference, ALayerThatMovedIsWhereItWasAndWhereItIs) {
    const Scene scene;
    const auto rects = rectsOf(differenceOf(scene.with(50, 200), scene.with(300.3, 40), kCanvas));
    ASSERT_EQ(rects.size(), 2u);
    DamageArea before;
    before.add(rects[0]);
    expectAround(before, {50, 90, 20, 10}, 3);
    DamageArea after;
    after.add(rects[1]);
    expectAround(after, {300, 250, 21, 10}, 3);
}

TEST(PictureDifference, LayersComeAndGo) {
    const Scene scene;
    const Picture upper = scene.other.transformed(AffineTransform::translation(200, 200));
    const auto stack = [&](bool hasRing) { return upper.over(hasRing ? scene.with(10, 100) : scene.ground); };
    expectAround(differenceOf(stack(false), stack(true), kCanvas), {10, 190, 20, 10}, 3);
    expectAround(differenceOf(stack(true), stack(false), kCanvas), {10, 190, 20, 10}, 3);
    EXPECT_EQ(rectsOf(differenceOf(scene.with(10, 100), scene.other.over(scene.ground), kCanvas)).size(), 2u);
}

TEST(PictureDifference, AFadeChangesTheLayer) {
    const Scene scene;
    const Picture shape = scene.shape.transformed(AffineTransform::translation(10, 100));
    expectAround(differenceOf(shape.faded(0.5).over(scene.ground), shape.faded(0.4).over(scene.ground), kCanvas),
                 {10, 190, 20, 10}, 3);
    expectAround(differenceOf(shape.faded(0.5).over(scene.ground), shape.over(scene.ground), kCanvas),
                 {10, 190, 20, 10}, 3);
}

TEST(PictureDifference, WhatLiesBesideTheCanvasDoesNotCount) {
    const Scene scene;
    EXPECT_TRUE(differenceOf(scene.with(-90, 4), scene.with(-80, 4), kCanvas).value().isEmpty());
    EXPECT_TRUE(differenceOf(scene.with(500, 4), scene.with(30, 400), kCanvas).value().isEmpty());
}

TEST(PictureDifference, ACameraThatMovesChangesEverything) {
    const Scene scene;
    const auto zoomed = [&](double scale) { return scene.ground.transformed(AffineTransform::scaling(scale)); };
    EXPECT_EQ(differenceOf(zoomed(1.5), zoomed(1.6), kCanvas), std::nullopt);
}

TEST(PictureDifference, ADecodedPictureDiffersWhereItSays) {
    const YuvPicture first = decoded();
    const YuvPicture second = decoded(&first, {60, 20, 10, 10});
    const YuvPicture third = decoded(&second, {0, 0, 5, 5});
    const auto placed = [](const YuvPicture& picture, double scale) {
        return Picture(picture).transformed({scale, scale, 20, 30});
    };
    // Source rows 20...30 of 100 are 70...80 from the bottom.
    expectAround(differenceOf(placed(first, 1), placed(second, 1), kCanvas), {80, 300 - 30 - 80, 10, 10}, 12);
    expectAround(differenceOf(placed(first, 1.5), placed(second, 1.5), kCanvas), {110, 300 - 30 - 120, 15, 15}, 16);
    expectAround(differenceOf(placed(first, 0.5), placed(second, 0.5), kCanvas), {50, 300 - 30 - 40, 5, 5}, 12);
    EXPECT_TRUE(differenceOf(placed(first, 1), placed(first, 1), kCanvas).value().isEmpty());
    const PixelRect all{20, 170, 200, 100};
    expectAround(differenceOf(placed(first, 1), placed(third, 1), kCanvas), all, 3);
    expectAround(differenceOf(placed(second, 1), placed(first, 1), kCanvas), all, 3);
}

TEST(PictureDifference, NobodyElseIsTakenForTheEarlierPicture) {
    YuvPicture first = decoded();
    const YuvPicture second = decoded(&first, {60, 20, 10, 10});
    const Picture before(first);
    first.width = 100;
    EXPECT_EQ(rectsOf(differenceOf(Picture(first), Picture(second), {200, 200})).front(), (PixelRect{0, 98, 200, 102}));
    YuvPicture ownerless = decoded(&second, {0, 0, 2, 2});
    YuvPicture nobody = second;
    nobody.owner = nullptr;
    ownerless.change = std::make_shared<const YuvChange>();
    EXPECT_EQ(rectsOf(differenceOf(Picture(nobody), Picture(ownerless), kCanvas)).front(),
              (PixelRect{0, 198, 202, 102}));
}

TEST(PictureDifference, ACropCutsWhatChangesOutside) {
    const YuvPicture first = decoded();
    const YuvPicture second = decoded(&first, {150, 20, 10, 10});
    const auto cropped = [](const YuvPicture& picture, double width) {
        return Picture(picture).cropped({0, 0, width, 100});
    };
    EXPECT_TRUE(differenceOf(cropped(first, 100), cropped(second, 100), kCanvas).value().isEmpty());
    EXPECT_FALSE(differenceOf(cropped(first, 155), cropped(second, 155), kCanvas).value().isEmpty());
}

TEST(PictureDifference, AnEdgeThatIsRepeatedChangesAsFarAsItIsRepeated) {
    const YuvPicture first = decoded();
    const auto framed = [](const YuvPicture& picture) {
        return Picture(picture)
            .transformed(AffineTransform::translation(100, 100))
            .clampedToExtent()
            .cropped({60, 50, 300, 200});
    };
    const YuvPicture left = decoded(&first, {0, 40, 4, 4});
    expectAround(differenceOf(framed(first), framed(left), kCanvas), {60, 140, 44, 4}, 12);
    const YuvPicture right = decoded(&first, {196, 40, 4, 4});
    expectAround(differenceOf(framed(first), framed(right), kCanvas), {296, 140, 64, 4}, 12);
    const YuvPicture top = decoded(&first, {40, 0, 4, 4});
    expectAround(differenceOf(framed(first), framed(top), kCanvas), {140, 50, 4, 54}, 12);
    const YuvPicture bottom = decoded(&first, {40, 96, 4, 4});
    expectAround(differenceOf(framed(first), framed(bottom), kCanvas), {140, 196, 4, 54}, 12);
    const YuvPicture middle = decoded(&first, {40, 40, 4, 4});
    expectAround(differenceOf(framed(first), framed(middle), kCanvas), {140, 140, 4, 4}, 12);
}

TEST(PictureDifference, SquaresChangeWhole) {
    const YuvPicture first = decoded();
    const YuvPicture second = decoded(&first, {65, 45, 2, 2});
    const auto masked = [](const YuvPicture& picture) { return Picture(picture).pixellated({{40, 0, 120, 100}}, 50); };
    // Columns 40...90 and, from the bottom, rows 50...100 or, within reach of the kernel, 0...50.
    expectAround(differenceOf(masked(first), masked(second), kCanvas), {40, 200, 50, 100}, 12);
}

TEST(PictureDifference, AMatteCutsTheChange) {
    const YuvPicture first = decoded();
    const YuvPicture second = decoded(&first, {0, 0, 200, 100});
    const auto cut = [matte = Picture(buffer(50, 40))](const YuvPicture& picture) {
        return Picture(picture).blendedWithMatte(matte);
    };
    expectAround(differenceOf(cut(first), cut(second), kCanvas), {0, 260, 50, 40}, 3);
}

TEST(PictureDifference, RecipesOfThousandsOfStepsAreNotCompared) {
    const Scene scene;
    const auto deep = [&](double alpha) {
        Picture picture = scene.shape.faded(alpha);
        for (int i = 0; i < 100'000; ++i) picture = picture.faded(0.5);
        return picture;
    };
    EXPECT_EQ(differenceOf(deep(0.5), deep(0.4), kCanvas), std::nullopt);
    // Parts that a recipe uses several times are compared each time.
    const auto woven = [&](const Picture& source) {
        Picture picture = source;
        for (int i = 0; i < 60; ++i) picture = picture.faded(0.5).over(picture);
        return picture;
    };
    EXPECT_EQ(differenceOf(woven(scene.shape), woven(scene.other), kCanvas), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::imaging
