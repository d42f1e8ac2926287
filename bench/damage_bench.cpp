// SPDX-License-Identifier: GPL-3.0-or-later

// A film frame in which little changed, in an export at 2560 x 1440: composing its recipe, comparing it with the last
// one and painting what differs, against painting the whole frame, in the same run and on one thread.
//
// Times are milliseconds for each frame; "Compare" is that of comparing decoded pictures. Aims at 2 ms for all of it
// when only the pointer moves, well below 1 ms of them for painting. "Whole" is the time of painting the same frames
// whole, "Ratio" how many times longer that takes than all of the short way.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "edit/frame_composer.h"
#include "imaging/changed_area.h"
#include "imaging/painting/painter.h"
#include "imaging/picture_difference.h"
#include "imaging/picture_pool.h"

namespace lumivastor {
namespace {

constexpr PixelSize kCanvas{2560, 1440};
constexpr double kFps = 60;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// A page of text with some colour.
std::shared_ptr<imaging::PlanarBuffer> page() {
    auto buffer = std::make_shared<imaging::PlanarBuffer>(kCanvas.width, kCanvas.height, imaging::YuvEncoding{});
    const imaging::YuvDestination& to = buffer->destination();
    for (int y = 0; y < to.height; ++y) {
        for (int x = 0; x < to.width; ++x) {
            const bool isStroke = (x * 7 + y / 18 * 13) % 11 < 3 && y % 18 < 11;
            to.luma[y * to.lumaStride + x] = static_cast<std::uint8_t>(isStroke ? 40 : 225);
        }
    }
    for (int y = 0; y < to.height / 2; ++y) {
        for (int x = 0; x < to.width / 2; ++x) {
            to.cb[y * to.chromaStride + x] = static_cast<std::uint8_t>(110 + x / 40 % 37);
            to.cr[y * to.chromaStride + x] = static_cast<std::uint8_t>(140 - y / 40 % 29);
        }
    }
    return buffer;
}

imaging::YuvPicture decoded(std::shared_ptr<imaging::PlanarBuffer> buffer) {
    const imaging::YuvDestination& from = buffer->destination();
    return {from.width,
            from.height,
            {from.luma, from.lumaStride},
            {from.cb, from.chromaStride},
            {from.cr, from.chromaStride},
            from.encoding,
            std::move(buffer)};
}

enum Features : unsigned { kPlain = 0, kZoomed = 1, kMasked = 2, kBubble = 4, kTyping = 8 };

class Film {
  public:
    explicit Film(unsigned features) : features_(features), recording_(recorded()) {
        model::ProjectSettings settings;
        settings.zooms.emplace();
        if (features & kZoomed) settings.zooms = {{0, 1e5, 1.6, {{0.7, 0.5, 0.5}}}};
        if (features & kMasked) settings.masks = {{0.1, 0.1, 0.2, 0.1}, {0.6, 0.7, 0.2, 0.1}};
        if (features & kBubble) recording_.webcamFile = "webcam.mov";
        state_ = edit::deriveEditState(recording_, settings, kCanvas);
        layers_ =
            edit::makeStudioLayers(state_->layout, settings, edit::LayerViews(state_->layout.canvas), cache_, cache_);
        auto cursor = std::make_shared<imaging::BgraPremultipliedBuffer>(48, 64);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < std::min(48, 64 - y); ++x) cursor->pixel(x, y)[3] = 255;
        }
        edit::CursorAsset asset;
        asset.image = recording_.track.cursorImages.front();
        asset.picture = cursor;
        cursors_.emplace("c0", asset);
        pages_ = {decoded(page()), decoded(page())};
    }

    imaging::Picture compose(int frame) {
        std::optional<imaging::Picture> webcam;
        if (features_ & kBubble) webcam = imaging::Picture(pages_[0]).cropped({0, 0, 1280, 720});
        if (features_ & kTyping) type(frame);
        const edit::FrameIngredients in{recording_, *state_, layers_, cursors_};
        return edit::composeFrame(in, imaging::Picture(pages_[features_ & kTyping ? frame % 2 : 0]), webcam,
                                  2 + frame / kFps);
    }

    /// Seconds in which decoded pictures were compared so far.
    double comparing() const { return comparing_; }

  private:
    // The pointer circles.
    edit::Recording recorded() const {
        model::CaptureInfo info;
        info.pixelWidth = kCanvas.width;
        info.pixelHeight = kCanvas.height;
        info.duration = 600;
        model::PointerTrack track;
        for (double t = 0; t < info.duration; t += 1 / kFps) {
            const double angle = t * 2;
            const Point at{1280 + 300 * std::cos(angle), 720 + 300 * std::sin(angle)};
            track.events.push_back(
                {t, at.x, at.y, at.x / kCanvas.width, at.y / kCanvas.height, model::PointerKind::move, {}, {}, {}});
        }
        track.cursorChanges = {{0, "c0"}};
        track.cursorImages = {{"c0", "", 24, 32, 2, 2, 2, true}};
        return {"", info, track};
    }

    // A character more, in one of the two pictures; the film finds out by itself.
    void type(int frame) {
        imaging::YuvPicture& picture = pages_[static_cast<std::size_t>(frame % 2)];
        const imaging::YuvPicture& earlier = pages_[static_cast<std::size_t>((frame + 1) % 2)];
        auto* const luma = const_cast<std::uint8_t*>(picture.luma.samples);
        for (int y = 700; y < 720; ++y) {
            std::memset(luma + y * picture.luma.stride + 300 + frame % 40 * 12, frame % 200, 10);
        }
        // Of a picture of its own each time.
        picture.owner = std::shared_ptr<const void>(picture.luma.samples, [kept = picture.owner](const void*) {});
        const double start = now();
        const imaging::KnownDamage damage = imaging::changedArea(earlier, picture);
        comparing_ += now() - start;
        if (damage)
            picture.change = std::make_shared<const imaging::YuvChange>(imaging::YuvChange{earlier.owner, *damage});
    }

    unsigned features_;
    edit::Recording recording_;
    std::shared_ptr<const edit::EditState> state_;
    imaging::PreparedLayers cache_;
    edit::StudioLayers layers_;
    std::map<std::string, edit::CursorAsset> cursors_;
    std::vector<imaging::YuvPicture> pages_;
    double comparing_ = 0;
};

void shortWay(benchmark::State& state, unsigned features) {
    Film film(features);
    imaging::PlanarBuffer buffer(kCanvas.width, kCanvas.height, {});
    imaging::PlanarBuffer whole(kCanvas.width, kCanvas.height, {});
    imaging::Painter painter(1);
    imaging::Painter other(1);
    imaging::Picture last = film.compose(0);
    painter.paint(last, buffer.destination());
    other.paint(last, whole.destination());
    double composing = 0;
    double differing = 0;
    double painting = 0;
    double paintingWhole = 0;
    int frame = 0;
    for (auto _ : state) {
        const double start = now();
        imaging::Picture picture = film.compose(++frame);
        const double composed = now();
        const imaging::KnownDamage damage = imaging::differenceOf(last, picture, kCanvas);
        const double differed = now();
        if (damage) {
            painter.paint(picture, buffer.destination(), *damage);
        } else {
            painter.paint(picture, buffer.destination());
        }
        const double painted = now();
        other.paint(picture, whole.destination());
        paintingWhole += now() - painted;
        composing += composed - start;
        differing += differed - composed;
        painting += painted - differed;
        last = std::move(picture);
        state.SetIterationTime(painted - start);
    }
    const double scale = 1000.0 / frame;
    state.counters["Compare"] = film.comparing() * scale;
    state.counters["Compose"] = (composing - film.comparing()) * scale;
    state.counters["Difference"] = differing * scale;
    state.counters["Paint"] = painting * scale;
    state.counters["Whole"] = paintingWhole * scale;
    state.counters["Ratio"] = paintingWhole / (composing + differing + painting);
}

#define LUMI_SHORT_WAY(name, features) \
    BENCHMARK_CAPTURE(shortWay, name, features)->UseManualTime()->Iterations(300)->Unit(benchmark::kMillisecond)
LUMI_SHORT_WAY(pointer, kPlain);
LUMI_SHORT_WAY(pointer_zoomed, kZoomed);
LUMI_SHORT_WAY(pointer_masked, kMasked);
LUMI_SHORT_WAY(pointer_with_webcam, kBubble);
LUMI_SHORT_WAY(pointer_and_typing, kTyping);
LUMI_SHORT_WAY(typing_zoomed, kTyping | kZoomed);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();
