// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/canvas_source.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "base/host_clock.h"

namespace lumivastor::wayland {
namespace {

using imaging::DamageArea;

// A picture of a stream in one grey.
struct Shown {
    Shown(int width, int height, std::uint8_t grey)
        : bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, grey) {
        picture.pixels = bytes.data();
        picture.stride = static_cast<std::size_t>(width) * 4;
        picture.crop = {0, 0, width, height};
        picture.hostSeconds = hostClockSeconds();
    }
    std::vector<std::uint8_t> bytes;
    pipewire::ScreenPicture picture;
};

void show(ScreenCanvas& canvas, int width, int height, std::uint8_t grey,
          std::optional<std::vector<PixelRect>> damage = {}) {
    Shown shown(width, height, grey);
    shown.picture.damage = std::move(damage);
    canvas.show(shown.picture);
}

CanvasSource sourceOn(ScreenCanvas& canvas, int x, int y, PixelSize size) {
    return CanvasSource(canvas, {.x = x, .y = y, .size = size}, [] { return std::nullopt; });
}

int greyAt(const imaging::BgraPremultipliedBuffer& picture, int x, int y) {
    return picture.pixel(x, y)[1];
}

TEST(CanvasSource, ShowsNothingBeforeTheFirstPicture) {
    ScreenCanvas canvas;
    CanvasSource source = sourceOn(canvas, 0, 0, {8, 8});
    imaging::DamageArea damage;
    source.update(damage);
    EXPECT_TRUE(source.isHidden());
    show(canvas, 8, 8, 100);
    source.update(damage);
    EXPECT_TRUE(source.isHidden()) << "the producer rests";
    canvas.setStreaming(true);
    source.update(damage);
    EXPECT_FALSE(source.isHidden());
    ASSERT_EQ(damage.rects().size(), 1u);
    EXPECT_EQ(damage.rects()[0], (PixelRect{0, 0, 8, 8}));
}

TEST(CanvasSource, WhatCameJustBeforeARestIsStillShown) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 0, 0, {8, 8});
    imaging::DamageArea damage;
    source.update(damage);
    show(canvas, 8, 8, 100);
    canvas.setStreaming(false);
    source.update(damage);
    EXPECT_FALSE(source.isHidden());
    imaging::BgraPremultipliedBuffer picture(8, 8);
    ASSERT_TRUE(source.paint(damage, picture));
    EXPECT_EQ(greyAt(picture, 0, 0), 100);
    source.update(damage);
    EXPECT_TRUE(source.isHidden());
}

TEST(CanvasSource, AChangeBesideItsPartIsNotWaitedForInARest) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 0, 0, {8, 8});
    show(canvas, 16, 8, 100);
    imaging::DamageArea damage;
    source.update(damage);
    imaging::BgraPremultipliedBuffer picture(8, 8);
    ASSERT_TRUE(source.paint(damage, picture));
    show(canvas, 16, 8, 50, std::vector{PixelRect{12, 2, 2, 2}});
    canvas.setStreaming(false);
    source.update(damage);
    EXPECT_TRUE(source.isHidden());
}

TEST(CanvasSource, KeepsEveryChangeBetweenTwoUpdates) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 0, 0, {16, 8});
    show(canvas, 16, 8, 10);
    imaging::DamageArea damage;
    source.update(damage);
    imaging::BgraPremultipliedBuffer picture(16, 8);
    ASSERT_TRUE(source.paint(damage, picture));
    damage.clear();

    show(canvas, 16, 8, 20, std::vector{PixelRect{1, 1, 2, 2}});
    show(canvas, 16, 8, 30, std::vector{PixelRect{10, 4, 3, 3}});
    source.update(damage);
    ASSERT_TRUE(source.paint(damage, picture));
    EXPECT_EQ(greyAt(picture, 0, 0), 10);
    EXPECT_EQ(greyAt(picture, 1, 1), 20);
    EXPECT_EQ(greyAt(picture, 12, 6), 30);
    EXPECT_EQ(greyAt(picture, 13, 6), 10);
    damage.clear();
    source.update(damage);
    EXPECT_TRUE(damage.isEmpty());
}

TEST(CanvasSource, ContentThatComesBeforeItIsPaintedHasItsOwnTime) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 0, 0, {8, 8});
    Shown first(8, 8, 10);
    first.picture.hostSeconds = 5;
    canvas.show(first.picture);
    imaging::DamageArea damage;
    source.update(damage);
    EXPECT_EQ(source.contentSeconds(), 5);
    Shown second(8, 8, 20);
    second.picture.hostSeconds = 6;
    canvas.show(second.picture);
    imaging::BgraPremultipliedBuffer picture(8, 8);
    source.paint(damage, picture);
    EXPECT_EQ(greyAt(picture, 4, 4), 20);
    EXPECT_EQ(source.contentSeconds(), 6);
}

TEST(CanvasSource, APictureShowsOneMoment) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 2, 0, {14, 8});
    show(canvas, 16, 8, 10);
    imaging::DamageArea damage;
    source.update(damage);
    imaging::BgraPremultipliedBuffer picture(14, 8);
    ASSERT_TRUE(source.paint(damage, picture));
    damage.clear();
    show(canvas, 16, 8, 20, std::vector{PixelRect{4, 0, 4, 8}});
    source.update(damage);
    // After the update, partly where the last change was and partly beside it.
    show(canvas, 16, 8, 30, std::vector{PixelRect{6, 0, 6, 8}, PixelRect{0, 0, 3, 1}});
    ASSERT_TRUE(source.paint(damage, picture));
    EXPECT_EQ(greyAt(picture, 2, 4), 20);
    EXPECT_EQ(greyAt(picture, 5, 4), 30);
    EXPECT_EQ(greyAt(picture, 9, 4), 30);
    EXPECT_EQ(greyAt(picture, 0, 0), 30);
    EXPECT_EQ(greyAt(picture, 1, 0), 10);
    ASSERT_EQ(damage.rects().size(), 2u) << "also what came after the update";
    EXPECT_EQ(damage.rects()[0], (PixelRect{2, 0, 8, 8}));
    EXPECT_EQ(damage.rects()[1], (PixelRect{0, 0, 1, 1}));
    // It is still in the next update, because other buffers lack it.
    damage.clear();
    source.update(damage);
    ASSERT_EQ(damage.rects().size(), 2u);
    EXPECT_EQ(damage.rects()[0], (PixelRect{4, 0, 6, 8}));
    EXPECT_EQ(damage.rects()[1], (PixelRect{0, 0, 1, 1}));
}

TEST(CanvasSource, PaintsNothingOfAnotherSizeThanTheUpdates) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 0, 0, {16, 8});
    show(canvas, 16, 8, 10);
    imaging::DamageArea damage;
    source.update(damage);
    show(canvas, 8, 8, 20);
    imaging::BgraPremultipliedBuffer picture(16, 8);
    EXPECT_FALSE(source.paint(damage, picture));
    EXPECT_EQ(greyAt(picture, 0, 0), 0);
    source.update(damage);
    ASSERT_TRUE(source.paint(damage, picture));
    EXPECT_EQ(greyAt(picture, 7, 7), 20);
    EXPECT_EQ(greyAt(picture, 8, 7), 0);
}

TEST(CanvasSource, CutsItsPartOut) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, 4, 2, {6, 4});
    show(canvas, 16, 8, 10);
    imaging::DamageArea damage;
    source.update(damage);
    imaging::BgraPremultipliedBuffer picture(6, 4);
    source.paint(damage, picture);
    damage.clear();
    // Half in the part, and wholly beside it.
    show(canvas, 16, 8, 20, std::vector{PixelRect{0, 0, 5, 3}, PixelRect{12, 6, 2, 2}});
    source.update(damage);
    ASSERT_EQ(damage.rects().size(), 1u);
    EXPECT_EQ(damage.rects()[0], (PixelRect{0, 0, 1, 1}));
    source.paint(damage, picture);
    EXPECT_EQ(greyAt(picture, 0, 0), 20);
    EXPECT_EQ(greyAt(picture, 1, 0), 10);
}

TEST(CanvasSource, IsBlackBeyondTheContentAndKeepsItsSize) {
    ScreenCanvas canvas;
    canvas.setStreaming(true);
    CanvasSource source = sourceOn(canvas, -2, 0, {10, 6});
    show(canvas, 16, 8, 50);
    imaging::DamageArea damage;
    source.update(damage);
    imaging::BgraPremultipliedBuffer picture(10, 6);
    source.paint(damage, picture);
    EXPECT_EQ(greyAt(picture, 1, 3), 0);
    EXPECT_EQ(picture.pixel(1, 3)[3], 255);
    EXPECT_EQ(greyAt(picture, 2, 3), 50);
    damage.clear();
    EXPECT_FALSE(source.takeNotice());

    show(canvas, 4, 4, 60, std::vector{PixelRect{0, 0, 1, 1}});
    source.update(damage);
    source.paint(damage, picture);
    EXPECT_EQ(greyAt(picture, 5, 3), 60);
    EXPECT_EQ(greyAt(picture, 6, 3), 0);
    EXPECT_EQ(greyAt(picture, 5, 4), 0);
    EXPECT_EQ(source.takeNotice(),
              "Der aufgenommene Bildschirm ist jetzt 4 × 4 Pixel groß; die Aufnahme behält ihre Größe.");
    EXPECT_FALSE(source.takeNotice());
}

TEST(CanvasSource, SaysOnceThatNothingHasComeYet) {
    ScreenCanvas canvas;
    CanvasSource source(canvas, {.size = {8, 8}, .patience = 0}, [] { return std::nullopt; });
    EXPECT_EQ(source.takeNotice(), "Der Bildschirm steht still; die Aufnahme beginnt mit der ersten Änderung.");
    EXPECT_FALSE(source.takeNotice());
}

TEST(CanvasSource, AProducerThatRestsAfterAPictureIsNoStillScreen) {
    ScreenCanvas canvas;
    CanvasSource source(canvas, {.size = {8, 8}, .patience = 0}, [] { return std::nullopt; });
    show(canvas, 8, 8, 1);
    canvas.setStreaming(false);
    imaging::DamageArea damage;
    source.update(damage);
    EXPECT_TRUE(source.isHidden());
    EXPECT_FALSE(source.takeNotice());
}

TEST(CanvasSource, AProducerThatRestsIsSaidOnceAndThatItIsBackToo) {
    ScreenCanvas canvas;
    CanvasSource source(canvas, {.size = {8, 8}, .restPatience = -1}, [] { return std::nullopt; });
    imaging::DamageArea damage;
    const auto noticeWhile = [&](bool isStreaming) {
        canvas.setStreaming(isStreaming);
        source.update(damage);
        return source.takeNotice();
    };
    show(canvas, 8, 8, 1);
    EXPECT_FALSE(noticeWhile(true));
    EXPECT_EQ(noticeWhile(false),
              "Der Desktop schickt keine Bilder mehr; bis wieder welche kommen, zeigt die Aufnahme das letzte.");
    EXPECT_FALSE(noticeWhile(false));
    EXPECT_EQ(noticeWhile(true), "Der Desktop schickt wieder Bilder.");
    EXPECT_FALSE(noticeWhile(true));
}

TEST(CanvasSource, IsWokenUntilItGoes) {
    ScreenCanvas canvas;
    int woken = 0;
    {
        CanvasSource source = sourceOn(canvas, 0, 0, {8, 8});
        source.onArrival([&] { ++woken; });
        show(canvas, 8, 8, 1);
        EXPECT_EQ(woken, 1);
    }
    show(canvas, 8, 8, 2);
    EXPECT_EQ(woken, 1);
}

TEST(ScreenCanvas, CopiesItself) {
    ScreenCanvas canvas;
    EXPECT_TRUE(canvas.snapshot().isEmpty());
    show(canvas, 8, 4, 77);
    const auto copy = canvas.snapshot();
    EXPECT_EQ(copy.width(), 8);
    EXPECT_EQ(copy.height(), 4);
    EXPECT_EQ(greyAt(copy, 7, 3), 77);
}

}  // namespace
}  // namespace lumivastor::wayland
