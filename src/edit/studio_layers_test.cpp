// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/studio_layers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "edit/frame_composer.h"
#include "imaging/painting/painter.h"
#include "imaging/painting/reference_painter.h"

namespace lumivastor::edit {
namespace {

using imaging::AffineTransform;
using imaging::BgraPremultipliedBuffer;
using imaging::Picture;

constexpr PixelSize kSmallCanvas{640, 360};

Recording recordingOf1280x720() {
    model::CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.pixelWidth = 1280;
    info.pixelHeight = 720;
    info.duration = 8;
    return {{}, info, {}};
}

// Of a recording of 1280 x 720 pixels with a webcam, whose camera zooms from 2 to 4 s.
struct Sample {
    Sample() {
        recording.webcamFile = "webcam.mov";
        settings.zooms = {{2, 4, 1.8, {{2, 0.2, 0.3}}}};
        settings.masks = {{0.3, 0.3, 0.1, 0.1}};
    }

    std::shared_ptr<const EditState> state() const { return deriveEditState(recording, settings, kSmallCanvas); }
    StudioLayers layers(const LayerViews& views) {
        const auto derived = state();
        return makeStudioLayers(derived->layout, settings, views, cache, cache);
    }
    // A frame of this size at a moment, with the layers of these views, as the player scales it.
    Picture frame(PixelSize size, double t, const LayerViews& views) {
        const auto derived = state();
        const StudioLayers drawn = makeStudioLayers(derived->layout, settings, views, cache, cache);
        return composeFrame({recording, *derived, drawn, {}}, screen, face, t)
            .transformed(AffineTransform::scaling(static_cast<double>(size.width) / kSmallCanvas.width,
                                                  static_cast<double>(size.height) / kSmallCanvas.height));
    }
    Picture filmFrame(PixelSize size, double t) { return frame(size, t, LayerViews(kSmallCanvas)); }
    Picture movingFrame(PixelSize size, double t) {
        const auto derived = state();
        return frame(size, t, LayerViews::ofMoving(derived->layout, size, frameZoom(*derived, t)));
    }
    Picture stillFrame(PixelSize size, double t) {
        const auto derived = state();
        return frame(size, t, LayerViews(derived->layout, size, frameZoom(*derived, t)));
    }

    static Picture plain(int width, int height, int level) {
        auto pixels = std::make_shared<BgraPremultipliedBuffer>(width, height);
        for (int y = 0; y < height; ++y) std::fill_n(pixels->row(y), 4 * width, static_cast<std::uint8_t>(level));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) pixels->pixel(x, y)[3] = 255;
        }
        return Picture(std::shared_ptr<const BgraPremultipliedBuffer>(std::move(pixels)));
    }

    Recording recording = recordingOf1280x720();
    model::ProjectSettings settings;
    imaging::PreparedLayers cache;
    // Bright, so that what is off at an edge shows.
    Picture screen = plain(1280, 720, 250);
    Picture face = plain(160, 120, 200);
};

struct Difference {
    double mean = 0;
    int worst = 0;
};

Difference between(const BgraPremultipliedBuffer& a, const BgraPremultipliedBuffer& b) {
    Difference all;
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < 4 * a.width(); ++x) {
            const int difference = std::abs(a.row(y)[x] - b.row(y)[x]);
            sum += difference;
            all.worst = std::max(all.worst, difference);
        }
    }
    all.mean = sum / (4.0 * a.width() * a.height());
    return all;
}

TEST(LayerViews, HaveTheFramesPixelsAndOnlyItsPartOfTheCanvas) {
    const auto layout = Sample().state()->layout;
    const LayerViews whole(kSmallCanvas);
    for (const LayerView& view : {whole.background, whole.screen, whole.bubble}) {
        EXPECT_EQ(view, (LayerView{kSmallCanvas, {}}));
    }
    const LayerViews half(layout, {320, 180}, {});
    EXPECT_EQ(half.background, (LayerView{{320, 180}, AffineTransform::scaling(0.5)}));
    EXPECT_EQ(half.screen, half.background);
    // The bubble's has room for its shadow.
    EXPECT_LT(half.bubble.size.width, 180);
    const Rect bubble = half.bubble.fromCanvas.applied(layout.bubbleRect);
    EXPECT_GE(bubble.minX(), 30);
    EXPECT_LE(bubble.maxX(), half.bubble.size.width);
    // Under a zoom to 1.5 a layer of half of the canvas's pixels still has the frame's, one for one.
    const LayerViews zoomed(layout, {320, 180}, {1.5, -100, -20});
    EXPECT_EQ(zoomed.background, half.background);
    EXPECT_EQ(zoomed.screen, (LayerView{{320, 180}, {0.75, 0.75, -50, -10}}));
    // At the canvas's own size the zoom would make it finer than the canvas: it gets the canvas's pixels that show.
    const LayerViews large(layout, kSmallCanvas, {2, -200, -100});
    EXPECT_EQ(large.screen, (LayerView{{328, 188}, AffineTransform::translation(-96, -46)}));
    // While the camera moves, what goes with it is drawn for all of its places.
    const LayerViews moving = LayerViews::ofMoving(layout, {320, 180}, {1.5, -100, -20});
    EXPECT_EQ(moving.background, half.background);
    EXPECT_EQ(moving.bubble, half.bubble);
    EXPECT_EQ(moving.screen, whole.screen);
    EXPECT_EQ(LayerViews::ofMoving(layout, {320, 180}, {}).screen, half.screen);
    // No frame makes more of a canvas than it has.
    const LayerViews huge(layout, {1280, 720}, {});
    EXPECT_EQ(huge.background, whole.background);
    EXPECT_EQ(huge.screen, whole.screen);
}

TEST(StudioLayers, AControlDrawsOnlyTheLayersThatDependOnIt) {
    struct Change {
        const char* what;
        std::function<void(model::ProjectSettings&)> make;
        std::string drawn;
    };
    const std::vector<Change> changes = {
        {"padding", [](auto& to) { to.padding = 0.1; }, "matte shadow "},
        {"corner radius", [](auto& to) { to.cornerRadius = 3; }, "matte shadow "},
        {"crop", [](auto& to) { to.cropLeft = 0.1; }, "matte shadow "},
        {"background", [](auto& to) { to.backgroundRed = 0.5; }, "background "},
        {"bubble's size", [](auto& to) { to.webcamSize = 0.3; }, "bubble border "},
        {"bubble's corner", [](auto& to) { to.webcamCorner = 3; }, "bubble border "},
        {"camera's magnification", [](auto& to) { to.webcamZoom = 2; }, ""},
        {"cursor's size", [](auto& to) { to.cursorScale = 1; }, ""},
        {"cursor's smoothing", [](auto& to) { to.smoothing = 0.2; }, ""},
        {"mask", [](auto& to) { to.masks.front().x = 0.5; }, ""},
        {"cut",
         [](auto& to) {
             to.cuts = {{5, 6}};
         },
         ""},
        {"zoom", [](auto& to) { to.zooms->front().scale = 2; }, ""},
    };
    const auto layout = Sample().state()->layout;
    for (const LayerViews& views : {LayerViews(kSmallCanvas), LayerViews(layout, {320, 180}, {})}) {
        for (const Change& change : changes) {
            Sample sample;
            const StudioLayers before = sample.layers(views);
            change.make(sample.settings);
            LayerViews after = views;
            if (views.screen.size != kSmallCanvas) after = LayerViews(sample.state()->layout, {320, 180}, {});
            const StudioLayers now = sample.layers(after);
            std::string drawn;
            if (!(now.background == before.background)) drawn += "background ";
            if (!(now.maskImage == before.maskImage)) drawn += "matte ";
            if (!(now.shadowImage == before.shadowImage)) drawn += "shadow ";
            if (!(now.ringImage == before.ringImage)) drawn += "ring ";
            if (!(now.bubbleMask == before.bubbleMask)) drawn += "bubble ";
            if (!(now.bubbleBorder == before.bubbleBorder)) drawn += "border ";
            EXPECT_EQ(drawn, change.drawn) << change.what;
        }
    }
}

// They differ at edges: the film's layers are resampled, the still's are drawn. Bright screen and dark background make
// 200 levels of an edge; a sixth of that is a sixth of a pixel.
TEST(StudioLayers, AFrameWithLayersOfItsSizeLooksLikeTheFilms) {
    Sample sample;
    imaging::Painter painter(1);
    for (const PixelSize size : {PixelSize{320, 180}, PixelSize{427, 240}, PixelSize{333, 187}, PixelSize{101, 57},
                                 PixelSize{640, 360}, PixelSize{900, 506}}) {
        const bool isCanvasEnough = size.width >= kSmallCanvas.width;
        for (const double t : {1.0, 3.0}) {  // before the zoom, and in it
            SCOPED_TRACE(std::to_string(size.width) + " wide at " + std::to_string(t));
            BgraPremultipliedBuffer film(size.width, size.height);
            BgraPremultipliedBuffer still(size.width, size.height);
            painter.paint(sample.filmFrame(size, t), film);
            for (const Picture& shown : {sample.stillFrame(size, t), sample.movingFrame(size, t)}) {
                painter.paint(shown, still);
                const Difference difference = between(film, still);
                EXPECT_LE(difference.mean, isCanvasEnough ? 0.01 : 0.5);
                EXPECT_LE(difference.worst, isCanvasEnough ? 1 : 36);
            }
        }
    }
}

TEST(StudioLayers, AStillAtAnOddSizeIsPaintedAsTheReferenceSays) {
    Sample sample;
    sample.settings.masks.clear();  // the reference takes its time
    imaging::Painter painter(2);
    const Picture still = sample.stillFrame({101, 57}, 3);
    BgraPremultipliedBuffer fast(101, 57);
    BgraPremultipliedBuffer plain(101, 57);
    painter.paint(still, fast);
    imaging::paintReference(still, plain);
    EXPECT_LE(between(fast, plain).worst, 2);
}

}  // namespace
}  // namespace lumivastor::edit
