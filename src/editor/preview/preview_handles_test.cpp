// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/preview_handles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "editor/preview/preview_layout.h"

namespace lumivastor::editor {
namespace {

using Kind = PreviewItem::Kind;
using Part = PreviewPart;

constexpr PixelSize kCanvas{1920, 1080};
constexpr double kWidth = 1600;
constexpr double kHeight = 1000;

class PreviewHandles : public testing::Test {
  protected:
    PreviewHandles() {
        info_.pixelWidth = static_cast<std::int64_t>(kWidth);
        info_.pixelHeight = static_cast<std::int64_t>(kHeight);
        info_.duration = 10;
        settings_.masks = {{0.1, 0.1, 0.2, 0.2}, {0.5, 0.5, 0.25, 0.1}};
        settings_.zooms = std::vector<model::ZoomSpec>{{1, 5, 2, {{1.7, 0.5, 0.5}, {2.2, 0.5, 0.5}, {3, 0.8, 0.3}}}};
    }

    PreviewScene scene(double time, bool showsWhole = false) const {
        auto state = std::make_shared<edit::EditState>();
        state->settings = settings_;
        state->zoomSpecs = settings_.zooms.value_or(std::vector<model::ZoomSpec>());
        state->layout = edit::layOutStudio(info_, settings_, kCanvas, true);
        state->zoomEngine = std::make_shared<const edit::ZoomEngine>(state->zoomSpecs, kWidth, kHeight,
                                                                     edit::zoomParameters(settings_));
        PreviewScene scene;
        scene.info = info_;
        scene.state = state;
        scene.time = time;
        scene.showsWhole = showsWhole;
        if (time >= 1 && time <= 5) scene.zoom = PreviewScene::Zoom{settings_.zooms->at(0), 0};
        scene.shown = {40, 20, 960, 540};
        return scene;
    }
    // After a drag of a part by points of the view.
    model::ProjectSettings dragged(const PreviewScene& scene, const PreviewItem& item, Part part, double dx,
                                   double dy) const {
        const Point from = handlePoint(item, itemRect(scene, item), part);
        return draggedSettings(scene, settings_, {item, part}, from, {from.x + dx, from.y + dy});
    }

    model::CaptureInfo info_;
    model::ProjectSettings settings_;
};

constexpr PreviewItem kFocus{Kind::focus};
constexpr PreviewItem kFirstMask{Kind::mask, 0};
constexpr PreviewItem kSecondMask{Kind::mask, 1};
constexpr PreviewItem kBubble{Kind::bubble};

TEST_F(PreviewHandles, ItemsAreTheFocusOfAZoomMasksInSightAndTheBubble) {
    EXPECT_EQ(previewItems(scene(0)), (std::vector<PreviewItem>{kFirstMask, kSecondMask, kBubble}));
    EXPECT_EQ(previewItems(scene(2, true)), (std::vector<PreviewItem>{kFocus, kFirstMask, kSecondMask, kBubble}));
    // Zoomed in to the middle, the first mask still reaches in; at the right it is out of sight.
    EXPECT_EQ(previewItems(scene(4)), (std::vector<PreviewItem>{kFocus, kSecondMask, kBubble}));
    settings_.webcamEnabled = false;
    settings_.masks.clear();
    EXPECT_TRUE(previewItems(scene(0)).empty());
}

TEST_F(PreviewHandles, AMaskLiesOverItsPlaceInThePictureUnderAnyZoom) {
    for (double t = 0; t < 8; t += 0.1) {
        const PreviewScene now = scene(t);
        const edit::ZoomTransform zoom = zoomTransform(now.state->layout, now.state->zoomEngine->camera(t));
        const Rect rect = itemRect(now, kSecondMask);
        const auto back = sourceNormalized(now.state->layout, zoom, info_, canvasRect(rect, now.shown, kCanvas));
        ASSERT_TRUE(back);
        EXPECT_NEAR(back->x, 0.5, 1e-9) << t;
        EXPECT_NEAR(back->y, 0.5, 1e-9) << t;
        EXPECT_NEAR(back->width, 0.25, 1e-9) << t;
        EXPECT_NEAR(back->height, 0.1, 1e-9) << t;
    }
}

TEST_F(PreviewHandles, TheFrameIsWhatTheCameraShowsAtRest) {
    const PreviewScene now = scene(2, true);
    const Rect frame = itemRect(now, kFocus);
    EXPECT_NEAR(frame.width, 480, 1e-9);
    EXPECT_NEAR(frame.height, 270, 1e-9);
    EXPECT_NEAR(frame.midX(), now.shown.midX(), 1e-9);
    EXPECT_NEAR(frame.midY(), now.shown.midY(), 1e-9);
    // Later, the frame of the second place.
    EXPECT_GT(itemRect(scene(3.5, true), kFocus).midX(), frame.midX() + 50);
}

TEST_F(PreviewHandles, StopsAreNeighboursWithOnePlaceAndInAPanTheNearerOne) {
    const std::vector<model::FocusKey> keys = settings_.zooms->at(0).focus;
    EXPECT_EQ(focusStop(keys, 0), (FocusStop{0, 1}));
    EXPECT_EQ(focusStop(keys, 1.8), (FocusStop{0, 1}));
    EXPECT_EQ(focusStop(keys, 2.5), (FocusStop{0, 1}));
    EXPECT_EQ(focusStop(keys, 2.7), (FocusStop{2, 2}));
    EXPECT_EQ(focusStop(keys, 9), (FocusStop{2, 2}));
    EXPECT_EQ(focusStop({}, 1), (FocusStop{0, 0}));
}

TEST_F(PreviewHandles, DraggingTheFrameMovesTheKeysOfItsStopOnly) {
    const PreviewScene now = scene(2, true);
    const model::ProjectSettings after = dragged(now, kFocus, Part::body, 30, -20);
    const model::ZoomSpec& zoom = after.zooms->at(0);
    const double pixels = 2 / now.state->layout.contentScale;  // source pixels per point
    EXPECT_NEAR(zoom.focus[0].x, 0.5 + 30 * pixels / kWidth, 1e-9);
    EXPECT_NEAR(zoom.focus[0].y, 0.5 - 20 * pixels / kHeight, 1e-9);
    EXPECT_EQ(zoom.focus[1].x, zoom.focus[0].x);
    EXPECT_EQ(zoom.focus[1].y, zoom.focus[0].y);
    EXPECT_EQ(zoom.focus[0].t, 1.7);
    EXPECT_EQ(zoom.focus[2], settings_.zooms->at(0).focus[2]);
    EXPECT_NEAR(zoom.scale, 2, 1e-12);
    model::ProjectSettings rest = after;
    rest.zooms = settings_.zooms;
    EXPECT_EQ(rest, settings_) << "nothing else changes";
}

TEST_F(PreviewHandles, TheFrameStaysInsideWhereverItIsDragged) {
    for (const Part part : {Part::body, Part::topLeft, Part::topRight, Part::bottomLeft, Part::bottomRight}) {
        for (double dx = -1200; dx <= 1200; dx += 300) {
            for (double dy = -800; dy <= 800; dy += 200) {
                const model::ProjectSettings before = settings_;
                const model::ProjectSettings after = dragged(scene(2, true), kFocus, part, dx, dy);
                const model::ZoomSpec& zoom = after.zooms->at(0);
                EXPECT_GE(zoom.scale, 1 - 1e-9);
                EXPECT_LE(zoom.scale, 3 + 1e-9);
                for (const model::FocusKey& key : zoom.focus) {
                    EXPECT_GE(key.x, 0);
                    EXPECT_LE(key.x, 1);
                    EXPECT_GE(key.y, 0);
                    EXPECT_LE(key.y, 1);
                }
                settings_ = after;
                const Rect frame = itemRect(scene(2, true), kFocus);
                EXPECT_GE(frame.minX(), 40 - 1e-6);
                EXPECT_LE(frame.maxX(), 1000 + 1e-6);
                EXPECT_GE(frame.minY(), 20 - 1e-6);
                EXPECT_LE(frame.maxY(), 560 + 1e-6);
                EXPECT_NEAR(frame.width * 9, frame.height * 16, 1e-6);
                settings_ = before;
            }
        }
    }
}

TEST_F(PreviewHandles, SizingTheFrameKeepsTheOppositeCorner) {
    const Rect before = itemRect(scene(2, true), kFocus);
    for (const Part part : {Part::topLeft, Part::topRight, Part::bottomLeft, Part::bottomRight}) {
        const bool isRight = part == Part::topRight || part == Part::bottomRight;
        const bool isBelow = part == Part::bottomLeft || part == Part::bottomRight;
        const model::ProjectSettings original = settings_;
        settings_ = dragged(scene(2, true), kFocus, part, isRight ? 80 : -80, isBelow ? 45 : -45);
        EXPECT_NEAR(settings_.zooms->at(0).scale, 960.0 / 560, 1e-9);
        const Rect after = itemRect(scene(2, true), kFocus);
        EXPECT_NEAR(after.width, before.width + 80, 1e-9);
        EXPECT_NEAR(isRight ? after.minX() : after.maxX(), isRight ? before.minX() : before.maxX(), 1e-9);
        EXPECT_NEAR(isBelow ? after.minY() : after.maxY(), isBelow ? before.minY() : before.maxY(), 1e-9);
        settings_ = original;
    }
}

TEST_F(PreviewHandles, MasksAreMovedByWholePixelsInsideThePicture) {
    for (const double t : {0.0, 2.0, 4.0}) {
        const PreviewScene now = scene(t);
        const double scale = zoomTransform(now.state->layout, now.state->zoomEngine->camera(t)).scale;
        const double pixels = 2 / (now.state->layout.contentScale * scale);
        const model::MaskRect moved = dragged(now, kSecondMask, Part::body, 31, -17).masks[1];
        EXPECT_NEAR(moved.x * kWidth, 800 + std::round(31 * pixels), 1e-6);
        EXPECT_NEAR(moved.y * kHeight, 500 + std::round(-17 * pixels), 1e-6);
        EXPECT_NEAR(moved.width, 0.25, 1e-9);
    }
    const model::MaskRect last = dragged(scene(0), kSecondMask, Part::body, 5000, 5000).masks[1];
    EXPECT_NEAR(last.x + last.width, 1, 1e-9);
    EXPECT_NEAR(last.y + last.height, 1, 1e-9);
    const model::MaskRect first = dragged(scene(0), kSecondMask, Part::body, -5000, -5000).masks[1];
    EXPECT_EQ(first.x, 0);
    EXPECT_EQ(first.y, 0);
}

TEST_F(PreviewHandles, EachHandleOfAMaskMovesItsEdgesOnly) {
    for (const Part part : handlesOf(scene(0), kFirstMask)) {
        for (const double by : {-5000.0, -20.0, 20.0, 5000.0}) {
            const model::MaskRect before = settings_.masks[0];
            const model::MaskRect after = dragged(scene(0), kFirstMask, part, by, by).masks[0];
            const bool left = part == Part::left || part == Part::topLeft || part == Part::bottomLeft;
            const bool right = part == Part::right || part == Part::topRight || part == Part::bottomRight;
            const bool top = part == Part::top || part == Part::topLeft || part == Part::topRight;
            const bool bottom = part == Part::bottom || part == Part::bottomLeft || part == Part::bottomRight;
            EXPECT_EQ(std::abs(after.x - before.x) > 1e-9, left);
            EXPECT_EQ(std::abs(after.y - before.y) > 1e-9, top);
            EXPECT_EQ(std::abs(after.x + after.width - before.x - before.width) > 1e-9, right);
            EXPECT_EQ(std::abs(after.y + after.height - before.y - before.height) > 1e-9, bottom);
            EXPECT_GE(after.x, 0);
            EXPECT_GE(after.y, 0);
            EXPECT_LE(after.x + after.width, 1 + 1e-9);
            EXPECT_LE(after.y + after.height, 1 + 1e-9);
            EXPECT_GE(after.width * kWidth, 8 - 1e-6);
            EXPECT_GE(after.height * kHeight, 8 - 1e-6);
        }
    }
}

TEST_F(PreviewHandles, TheBubbleGoesToTheCornerThatItIsDraggedTo) {
    struct Case {
        double dx, dy;
        std::int64_t corner;
    };
    for (const Case& each : {Case{-20, -20, 0}, {-700, 0, 1}, {0, -400, 2}, {-700, -400, 3}}) {
        EXPECT_EQ(dragged(scene(0), kBubble, Part::body, each.dx, each.dy).webcamCorner, each.corner);
    }
}

TEST_F(PreviewHandles, TheBubbleIsSizedFromItsCornerWithinTheLimits) {
    for (std::int64_t corner = 0; corner < 4; ++corner) {
        settings_.webcamCorner = corner;
        const std::vector<Part> handles = handlesOf(scene(0), kBubble);
        ASSERT_EQ(handles.size(), 1u);
        const Point handle = handlePoint(kBubble, itemRect(scene(0), kBubble), handles[0]);
        const Rect shown = scene(0).shown;
        // Towards the middle is larger.
        const double x = handle.x < shown.midX() ? 1 : -1;
        const double y = handle.y < shown.midY() ? 1 : -1;
        const model::ProjectSettings before = settings_;
        settings_ = dragged(scene(0), kBubble, handles[0], 27 * x, 27 * y);
        const Point after = handlePoint(kBubble, itemRect(scene(0), kBubble), handles[0]);
        EXPECT_NEAR(after.x, handle.x + 27 * x, 1e-9) << "the handle follows the pointer in corner " << corner;
        EXPECT_NEAR(after.y, handle.y + 27 * y, 1e-9);
        settings_ = before;
        EXPECT_EQ(dragged(scene(0), kBubble, handles[0], 900 * x, 900 * y).webcamSize, 0.45);
        EXPECT_EQ(dragged(scene(0), kBubble, handles[0], -900 * x, -900 * y).webcamSize, 0.14);
    }
}

TEST_F(PreviewHandles, ThePointerHitsHandlesOfTheSelectedThenTheTopmost) {
    const PreviewScene now = scene(0);
    const Rect mask = itemRect(now, kFirstMask);
    const Point corner{mask.maxX() + 3, mask.maxY() + 3};
    EXPECT_EQ(hitAt(now, corner, std::nullopt), std::nullopt);
    EXPECT_EQ(hitAt(now, corner, kFirstMask), (PreviewHit{kFirstMask, Part::bottomRight}));
    EXPECT_EQ(hitAt(now, {mask.midX(), mask.midY()}, std::nullopt), (PreviewHit{kFirstMask, Part::body}));
    EXPECT_EQ(hitAt(now, {mask.maxX(), mask.midY()}, kFirstMask), (PreviewHit{kFirstMask, Part::right}));
    EXPECT_EQ(hitAt(now, {now.shown.midX(), now.shown.minY() + 2}, kFirstMask), std::nullopt);

    // A later mask lies over an earlier one, and what is selected over both.
    settings_.masks[1] = settings_.masks[0];
    EXPECT_EQ(hitAt(scene(0), {mask.midX(), mask.midY()}, std::nullopt)->item, kSecondMask);
    EXPECT_EQ(hitAt(scene(0), {mask.midX(), mask.midY()}, kFirstMask)->item, kFirstMask);

    // The frame is nothing to hit until it is selected.
    const PreviewScene zoomed = scene(2, true);
    const Rect frame = itemRect(zoomed, kFocus);
    const Point inside{frame.midX(), frame.minY() + 30};
    EXPECT_EQ(hitAt(zoomed, inside, std::nullopt), std::nullopt);
    EXPECT_EQ(hitAt(zoomed, inside, kFocus), (PreviewHit{kFocus, Part::body}));
    EXPECT_EQ(hitAt(zoomed, {frame.minX(), frame.minY()}, kFocus), (PreviewHit{kFocus, Part::topLeft}));
}

TEST_F(PreviewHandles, ASmallMaskCanStillBeMoved) {
    settings_.masks[0] = {0.1, 0.1, 12 / kWidth, 12 / kHeight};
    const Rect mask = itemRect(scene(0), kFirstMask);
    EXPECT_EQ(hitAt(scene(0), {mask.midX(), mask.midY()}, kFirstMask)->part, Part::body);
}

TEST_F(PreviewHandles, KeysMoveByPixelsAndSizeByPixels) {
    const PreviewScene now = scene(2, true);
    const model::MaskRect moved = nudgedSettings(now, settings_, kFirstMask, {1, -10}).masks[0];
    EXPECT_NEAR(moved.x * kWidth, 161, 1e-9);
    EXPECT_NEAR(moved.y * kHeight, 90, 1e-9);
    const model::MaskRect sized = resizedSettings(now, settings_, kFirstMask, {10, -1}).masks[0];
    EXPECT_NEAR(sized.x, 0.1, 1e-9);
    EXPECT_NEAR(sized.width * kWidth, 330, 1e-9);
    EXPECT_NEAR(sized.height * kHeight, 199, 1e-9);

    const model::FocusKey key = nudgedSettings(now, settings_, kFocus, {1, 10}).zooms->at(0).focus[0];
    EXPECT_NEAR(key.x * kWidth, 801, 1e-6);
    EXPECT_NEAR(key.y * kHeight, 510, 1e-6);
    const model::ZoomSpec larger = resizedSettings(now, settings_, kFocus, {10, 0}).zooms->at(0);
    EXPECT_NEAR(kCanvas.width / larger.scale, 960 + 10 * now.state->layout.contentScale, 1e-6);
    EXPECT_NEAR(larger.focus[0].x, 0.5, 1e-9);

    EXPECT_EQ(nudgedSettings(now, settings_, kBubble, {-1, 0}).webcamCorner, 1);
    EXPECT_EQ(nudgedSettings(now, settings_, kBubble, {0, -1}).webcamCorner, 2);
    EXPECT_EQ(nudgedSettings(now, settings_, kBubble, {1, 0}).webcamCorner, 0);
    EXPECT_GT(resizedSettings(now, settings_, kBubble, {10, 0}).webcamSize, settings_.webcamSize);
}

TEST_F(PreviewHandles, TextsSayWhatIsSelected) {
    const PreviewScene now = scene(2);
    EXPECT_EQ(itemText(now, kSecondMask), "Bereich 2 von 2: links 800, oben 500, 400 × 100 Pixel");
    EXPECT_EQ(itemText(now, kFocus), "Ausschnitt des Zooms: Vergrößerung 2.00");
    EXPECT_EQ(itemText(now, kBubble), "Kamera-Bild: unten rechts, 26 % der Höhe");
    EXPECT_EQ(stepName({kFirstMask, Part::body}), "Bereich verschieben");
    EXPECT_EQ(stepName({kFocus, Part::topLeft}), "Größe des Ausschnitts");
}

}  // namespace
}  // namespace lumivastor::editor
