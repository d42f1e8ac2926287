// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/check_video_marks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/pointer_events.h"

namespace lumivastor::render::CursorRenderer {
namespace {

edit::Recording recordingOf(model::PointerTrack track, double scale = 1) {
    model::CaptureInfo info;
    info.pixelWidth = 400;
    info.pixelHeight = 300;
    info.pointPixelScale = scale;
    return {{}, info, std::move(track)};
}

Asset assetOf(const std::string& id, double hotspotX, double hotspotY, double width, double height) {
    model::CursorImage info;
    info.id = id;
    info.hotspotX = hotspotX;
    info.hotspotY = hotspotY;
    info.width = width;
    info.height = height;
    return {std::make_shared<const imaging::BgraPremultipliedBuffer>(static_cast<int>(width), static_cast<int>(height)),
            info};
}

imaging::BgraPremultipliedBuffer filled(int width, int height, int value) {
    imaging::BgraPremultipliedBuffer picture(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int i = 0; i < 3; ++i) picture.pixel(x, y)[i] = static_cast<std::uint8_t>(value);
            picture.pixel(x, y)[3] = 255;
        }
    }
    return picture;
}

TEST(CheckPointer, LiesOnTheLineBetweenEventsAndRestsOutside) {
    const std::vector<model::PointerSample> events = {event(1, 10, 20), event(2, 30, 0, model::PointerKind::scroll),
                                                      event(4, 30, 40, model::PointerKind::up)};
    EXPECT_EQ(pointerAt(events, -5), (Point{10, 20}));
    EXPECT_EQ(pointerAt(events, 1), (Point{10, 20}));
    EXPECT_EQ(pointerAt(events, 1.25), (Point{15, 15}));
    EXPECT_EQ(pointerAt(events, 2), (Point{30, 0}));
    EXPECT_EQ(pointerAt(events, 3), (Point{30, 20}));
    EXPECT_EQ(pointerAt(events, 4), (Point{30, 40}));
    EXPECT_EQ(pointerAt(events, 1e6), (Point{30, 40}));
    EXPECT_EQ(pointerAt({}, 1), std::nullopt);
    EXPECT_EQ(pointerAt({event(3, 7, 8)}, 3), (Point{7, 8}));
}

TEST(CheckPointer, EventsAtOneTimeAreAJump) {
    const std::vector<model::PointerSample> events = {event(0, 0, 0), event(1, 10, 0), event(1, 50, 0), event(1, 90, 0),
                                                      event(2, 100, 0)};
    EXPECT_NEAR(pointerAt(events, 0.999)->x, 9.99, 1e-9);
    EXPECT_EQ(pointerAt(events, 1), (Point{90, 0}));
    EXPECT_NEAR(pointerAt(events, 1.5)->x, 95, 1e-9);
    // At the very beginning the first one counts, at the very end the last.
    EXPECT_EQ(pointerAt({event(1, 10, 0), event(1, 50, 0)}, 1), (Point{10, 0}));
    EXPECT_EQ(pointerAt({event(0, 0, 0), event(1, 10, 0), event(1, 50, 0)}, 1), (Point{50, 0}));
}

TEST(CheckRings, GrowThinAndFade) {
    const std::vector<model::PointerSample> presses = {press(1, 100, 50)};
    EXPECT_TRUE(ringsAt(presses, 2, 0.999).empty());
    EXPECT_EQ(ringsAt(presses, 2, 1), (std::vector<Ring>{{{100, 50}, 28, 10, 0.9}}));
    const auto half = ringsAt(presses, 2, 1.175);
    ASSERT_EQ(half.size(), 1u);
    EXPECT_NEAR(half[0].radius, 2 * 37, 1e-6);
    EXPECT_NEAR(half[0].lineWidth, 5, 1e-6);
    EXPECT_NEAR(half[0].alpha, 0.45, 1e-6);
}

TEST(CheckRings, EndWithTheirTime) {
    EXPECT_TRUE(ringsAt({press(0, 5, 5)}, 1.5, 0.35).empty());
    EXPECT_TRUE(ringsAt({press(1, 5, 5)}, 1.5, 1.35).empty());
    const auto last = ringsAt({press(0, 5, 5)}, 1.5, 0.349);
    ASSERT_EQ(last.size(), 1u);
    EXPECT_NEAR(last[0].radius, 1.5 * 59.9, 0.05);
    EXPECT_EQ(last[0].lineWidth, 2);
    EXPECT_NEAR(last[0].alpha, 0.9 / 350, 1e-6);
}

TEST(CheckRings, AreThoseOfEveryRecentPressInOrder) {
    std::vector<model::PointerSample> presses;
    for (int i = 0; i < 100; ++i) presses.push_back(press(i * 0.05, i, 0));
    for (double t = -0.5; t < 6; t += 0.0371) {
        std::vector<double> expected;
        bool lit = false;
        for (const model::PointerSample& each : presses) {
            const double age = t - each.t;
            if (age >= 0 && age < kRingSeconds) expected.push_back(each.px);
            lit = lit || (age >= 0 && age < kIndicatorSeconds);
        }
        std::vector<double> found;
        for (const Ring& ring : ringsAt(presses, 1, t)) {
            found.push_back(ring.centre.x);
            EXPECT_GE(ring.radius, 14);
            EXPECT_LT(ring.radius, 60);
            EXPECT_GE(ring.lineWidth, 2);
            EXPECT_GT(ring.alpha, 0);
            EXPECT_LE(ring.alpha, 0.9);
        }
        EXPECT_EQ(found, expected) << t;
        EXPECT_EQ(indicatorIsLitAt(presses, t), lit) << t;
    }
}

TEST(CheckIndicator, IsLitForAMomentAfterEachPress) {
    const std::vector<model::PointerSample> presses = {press(0, 0, 0), press(5, 0, 0)};
    EXPECT_FALSE(indicatorIsLitAt(presses, -0.001));
    EXPECT_TRUE(indicatorIsLitAt(presses, 0));
    EXPECT_TRUE(indicatorIsLitAt(presses, 0.119));
    EXPECT_FALSE(indicatorIsLitAt(presses, 0.12));
    EXPECT_FALSE(indicatorIsLitAt(presses, 4.99));
    EXPECT_TRUE(indicatorIsLitAt(presses, 5.1));
    EXPECT_FALSE(indicatorIsLitAt({}, 1));
}

TEST(CheckVideoMarks, IsEmptyWithoutEvents) {
    model::PointerTrack track;
    track.cursorChanges = {{0, "arrow"}};
    EXPECT_FALSE(marksAt(recordingOf(track), {{"arrow", assetOf("arrow", 1, 1, 8, 8)}}, 1));
}

TEST(CheckVideoMarks, PutsTheShapeWithItsHotSpotOnThePointer) {
    model::PointerTrack track;
    track.events = {event(0, 100, 50)};
    track.cursorChanges = {{1, "arrow"}, {2, "hand"}, {3, "unknown"}, {4, "arrow"}};
    const Assets assets = {{"arrow", assetOf("arrow", 2, 3, 16, 24)}, {"hand", assetOf("hand", 5, 1, 20, 20)}};
    const edit::Recording recording = recordingOf(track, 2);
    const auto shapeAt = [&](double t) {
        const auto marks = marksAt(recording, assets, t);
        return marks->cursor == nullptr ? std::string() : marks->cursor->info.id;
    };
    EXPECT_EQ(shapeAt(0), "arrow");  // before the first change: that one's
    EXPECT_EQ(shapeAt(1.999), "arrow");
    EXPECT_EQ(shapeAt(2), "hand");
    EXPECT_EQ(shapeAt(3.5), "");
    EXPECT_EQ(shapeAt(9), "arrow");
    EXPECT_EQ(marksAt(recording, assets, 0)->cursorRect, (Rect{96, 44, 32, 48}));
    EXPECT_EQ(marksAt(recording, assets, 2)->cursorRect, (Rect{90, 48, 40, 40}));
    EXPECT_EQ(marksAt(recording, assets, 3.5)->dotRadius, 16);
    EXPECT_EQ(marksAt(recording, assets, 3.5)->pointer, (Point{100, 50}));
}

TEST(CheckVideoMarks, ShowsTheDotWithoutChanges) {
    model::PointerTrack track;
    track.events = {event(0, 100, 50)};
    EXPECT_EQ(marksAt(recordingOf(track), {{"", assetOf("", 0, 0, 8, 8)}}, 0)->cursor, nullptr);
}

TEST(CheckVideoMarks, SquareAndLabelKeepTheirPlaceInPoints) {
    model::PointerTrack track;
    track.events = {press(0.5, 100, 50)};
    const auto marks = marksAt(recordingOf(track, 2), {}, 0.5);
    ASSERT_TRUE(marks);
    EXPECT_EQ(marks->indicator, (Rect{24, 24, 52, 52}));
    EXPECT_TRUE(marks->indicatorIsLit);
    EXPECT_EQ(marks->labelBaseline, (Point{96, 68}));
    EXPECT_EQ(marks->labelSize, 44);
    EXPECT_EQ(marks->label, "0.500 s");
    EXPECT_EQ(marks->rings.size(), 1u);
    EXPECT_EQ(marksAt(recordingOf(track), {}, 3671.23456)->label, "3671.235 s");
}

TEST(CheckVideoMarks, IsPaintedInItsColours) {
    auto picture = filled(200, 150, 128);
    Marks marks;
    marks.rings = {{{150, 80}, 30, 6, 0.5}};
    marks.pointer = {60, 100};
    marks.dotRadius = 8;
    marks.indicator = {12, 12, 26, 26};
    paintMarks(marks, picture);
    const auto near = [&](int x, int y, int blue, int green, int red) {
        const std::uint8_t* const pixel = picture.pixel(x, y);
        return std::abs(pixel[0] - blue) <= 1 && std::abs(pixel[1] - green) <= 1 && std::abs(pixel[2] - red) <= 1;
    };
    EXPECT_TRUE(near(180, 80, 64, 109, 192));   // orange over grey
    EXPECT_TRUE(near(150, 80, 128, 128, 128));  // the ring's middle
    EXPECT_TRUE(near(60, 100, 249, 249, 249));
    EXPECT_TRUE(near(20, 20, 58, 79, 79));
    marks.indicatorIsLit = true;
    paintMarks(marks, picture);
    EXPECT_TRUE(near(20, 20, 0, 89, 255));
}

TEST(PlacePicture, CopiesAPictureOfTheSameSize) {
    auto source = filled(9, 7, 10);
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 9; ++x) source.pixel(x, y)[0] = static_cast<std::uint8_t>(20 * y + x);
    }
    auto target = filled(9, 7, 200);
    placePicture(source, target);
    for (int y = 0; y < 7; ++y) EXPECT_EQ(std::memcmp(source.row(y), target.row(y), 36), 0) << y;
}

TEST(PlacePicture, KeepsTheBottomLeftCornerOfOtherSizes) {
    auto source = filled(4, 4, 10);
    source.pixel(0, 3)[1] = 77;
    auto larger = filled(6, 5, 200);
    placePicture(source, larger);
    EXPECT_EQ(larger.pixel(0, 4)[1], 77);
    EXPECT_EQ(larger.pixel(3, 1)[1], 10);
    EXPECT_EQ(larger.pixel(4, 4)[1], 0);
    EXPECT_EQ(larger.pixel(0, 0)[1], 0);
    EXPECT_EQ(larger.pixel(0, 0)[3], 255);
    auto smaller = filled(2, 3, 200);
    placePicture(source, smaller);
    EXPECT_EQ(smaller.pixel(0, 2)[1], 77);
    EXPECT_EQ(smaller.pixel(1, 0)[1], 10);
}

}  // namespace
}  // namespace lumivastor::render::CursorRenderer
