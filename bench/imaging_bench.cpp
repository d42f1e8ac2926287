// SPDX-License-Identifier: GPL-3.0-or-later

// Painting studio frames and preparing their layers. Times are of one core: the painter runs on one thread, but for
// prepare/firstFrame, where it has two and the clock counts.
//
// Frames are named by what they hold and by the canvas width; `camera` is the zoom in percent. "Ratio" is how many
// times slower the reference painter is than the fast one, or how many times longer a frame with 32 masks takes than
// one with a single mask, measured in the same run.

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "base/formatted.h"
#include "imaging/painting/background_planes.h"
#include "imaging/painting/painter.h"
#include "imaging/painting/prepared_layers.h"
#include "imaging/painting/reference_painter.h"
#include "imaging/picture.h"

namespace lumivastor {
namespace {

struct Samples {
    std::vector<std::uint8_t> all;
};

struct Planar {
    int width, height;
    std::shared_ptr<Samples> samples = std::make_shared<Samples>();

    Planar(int width_, int height_) : width(width_), height(height_) {
        samples->all.resize(static_cast<std::size_t>(width * height * 3 / 2));
    }
    std::uint8_t* luma() const { return samples->all.data(); }
    std::uint8_t* cb() const { return luma() + width * height; }
    std::uint8_t* cr() const { return cb() + width * height / 4; }

    imaging::Picture picture() const {
        return imaging::Picture(
            imaging::YuvPicture{width, height, {luma(), width}, {cb(), width / 2}, {cr(), width / 2}, {}, samples});
    }
    imaging::YuvDestination destination() const { return {width, height, luma(), width, cb(), cr(), width / 2, {}}; }
};

// Something like text: short dark strokes on a light ground, with some colour.
Planar screenContent(int width, int height) {
    Planar screen(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool stroke = (x * 7 + y / 18 * 13) % 11 < 3 && y % 18 < 11;
            screen.luma()[y * width + x] = static_cast<std::uint8_t>(stroke ? 40 : 225);
        }
    }
    for (int i = 0; i < width * height / 4; ++i) {
        screen.cb()[i] = static_cast<std::uint8_t>(110 + i % 37);
        screen.cr()[i] = static_cast<std::uint8_t>(140 - i % 29);
    }
    return screen;
}

enum Layers : unsigned {
    kBackground = 1,
    kShadow = 2,
    kScreen = 4,
    kRing = 8,
    kCursor = 16,
    kWebcam = 32,
    kBorder = 64,
    kMask = 128,
    kAll = 127
};

// The layers of a studio frame, placed as the frame compositor places them.
class Studio {
  public:
    Studio(int width, int height, int sourceWidth, int sourceHeight)
        : width_(width),
          height_(height),
          source_(screenContent(sourceWidth, sourceHeight)),
          webcam_(screenContent(1280, 720)) {
        const double pad = 0.06 * height;
        scale_ = std::min((width - 2 * pad) / sourceWidth, (height - 2 * pad) / sourceHeight);
        screen_ = {(width - sourceWidth * scale_) / 2, (height - sourceHeight * scale_) / 2, sourceWidth * scale_,
                   sourceHeight * scale_};
        const double side = 0.22 * height;
        bubble_ = {width - side * 1.1, side * 0.1, side, side};
        prepareLayers();
        auto cursor = std::make_shared<imaging::BgraPremultipliedBuffer>(64, 64);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64 - y; ++x) {
                const bool edge = x < 3 || x > 60 - y;
                std::uint8_t* pixel = cursor->pixel(x, y);
                pixel[0] = pixel[1] = pixel[2] = static_cast<std::uint8_t>(edge ? 255 : 0);
                pixel[3] = 255;
            }
        }
        cursor_ = imaging::Picture(cursor);
    }

    // As for an opened composition: nothing is kept from before.
    void prepareLayers() {
        imaging::PreparedLayers layers;
        background_ = imaging::Picture(layers.background(width_, height_, {0.25, 0.35, 0.6}));
        matte_ = imaging::Picture(layers.roundedMatte(width_, height_, screen_, 18));
        shadow_ = imaging::Picture(layers.roundedShadow(width_, height_, screen_, 18));
        ring_ = imaging::Picture(layers.ring());
        bubbleMatte_ = imaging::Picture(layers.ellipseMatte(width_, height_, bubble_));
        border_ = imaging::Picture(layers.bubbleBorder(width_, height_, bubble_));
    }

    imaging::Picture frame(unsigned layers, double zoom) const {
        return frame(layers, zoom, layers & kMask ? std::vector<Rect>{{320, 200, 480, 120}} : std::vector<Rect>{});
    }

    imaging::Picture frame(unsigned layers, double zoom, const std::vector<Rect>& masks) const {
        imaging::AffineTransform camera;
        if (zoom > 1) camera = {zoom, zoom, -width_ * 0.43 * (zoom - 1), -height_ * 0.57 * (zoom - 1)};
        imaging::Picture picture;
        if (layers & kBackground) picture = background_;
        if (layers & kShadow) picture = shadow_.transformed(camera).over(picture);
        if (layers & kScreen) {
            const imaging::Picture placed =
                source_.picture()
                    .pixellated(masks, 18)
                    .transformed(imaging::AffineTransform::scaling(scale_))
                    .transformed(imaging::AffineTransform::translation(screen_.x, screen_.y))
                    .transformed(camera);
            picture = placed.blendedWithMatte(matte_.transformed(camera)).over(picture);
        }
        if (layers & kRing) {
            picture = ring_.transformed({zoom, zoom, width_ * 0.4, height_ * 0.5}).faded(0.6).over(picture);
        }
        if (layers & kCursor) {
            picture = cursor_.transformed({zoom * 0.7, zoom * 0.7, width_ * 0.5, height_ * 0.4}).over(picture);
        }
        if (layers & kWebcam) {
            const double cover = bubble_.height / webcam_.height;
            picture = webcam_.picture()
                          .transformed({cover, cover, bubble_.midX() - webcam_.width * cover / 2, bubble_.y})
                          .blendedWithMatte(bubbleMatte_)
                          .over(picture);
        }
        if (layers & kBorder) picture = border_.over(picture);
        return picture;
    }

    int width() const { return width_; }
    int height() const { return height_; }

  private:
    int width_, height_;
    Planar source_, webcam_;
    double scale_ = 1;
    Rect screen_, bubble_;
    imaging::Picture background_, matte_, shadow_, ring_, bubbleMatte_, border_, cursor_;
};

struct Canvas {
    int width, height;
};
constexpr Canvas kCanvases[] = {{1920, 1080}, {2560, 1440}, {3840, 2160}};

void paintPlanar(benchmark::State& state, Canvas canvas, unsigned layers, double zoom) {
    const Studio studio(canvas.width, canvas.height, 2560, 1440);
    const Planar destination(canvas.width, canvas.height);
    imaging::Painter painter(1);
    double moved = 0;
    painter.paint(studio.frame(layers, zoom), destination.destination());
    for (auto _ : state) {
        // The camera moves: nothing can be kept from the frame before.
        moved += zoom > 1 ? 1e-4 : 0;
        painter.paint(studio.frame(layers, zoom + moved), destination.destination());
    }
}

void paintBgra(benchmark::State& state, Canvas canvas, unsigned layers, double zoom) {
    const Studio studio(canvas.width, canvas.height, 2560, 1440);
    imaging::BgraPremultipliedBuffer destination(canvas.width, canvas.height);
    imaging::Painter painter(1);
    double moved = 0;
    painter.paint(studio.frame(layers, zoom), destination);
    for (auto _ : state) {
        moved += zoom > 1 ? 1e-4 : 0;
        painter.paint(studio.frame(layers, zoom + moved), destination);
    }
}

// A small frame, because the reference takes minutes for a large one; both painters have the same work to do.
void compareWithReference(benchmark::State& state) {
    const Studio studio(640, 360, 640, 360);
    const Planar destination(640, 360);
    const imaging::Picture frame = studio.frame(kAll, 1.6);
    imaging::Painter painter(1);
    const auto seconds = [](const auto& work) {
        const auto start = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    painter.paint(frame, destination.destination());
    for (auto _ : state) {
        constexpr int kTimes = 20;
        const double fast = seconds([&] {
            for (int i = 0; i < kTimes; ++i) painter.paint(frame, destination.destination());
        });
        const double reference = seconds([&] { imaging::paintReference(frame, destination.destination()); });
        state.counters["Ratio"] = reference / (fast / kTimes);
    }
}

// Of this thread: what other programs take does not count.
double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Frames whose masks lie over each other, each a little further, with as many as `count` and with one; in turns, so
// that other work on the machine meets both alike.
void compareMasks(benchmark::State& state, Canvas canvas, Size size, int count) {
    const Studio studio(canvas.width, canvas.height, 2560, 1440);
    const Planar destination(canvas.width, canvas.height);
    imaging::Painter painter(1);
    const auto seconds = [&](int masks) {
        std::vector<Rect> areas;
        for (int i = 0; i < masks; ++i) areas.push_back({40.0 + 3 * i, 60.0 + 2 * i, size.width, size.height});
        const imaging::Picture frame = studio.frame(kAll, 1, areas);
        const double start = processorSeconds();
        painter.paint(frame, destination.destination());
        return processorSeconds() - start;
    };
    seconds(1);
    for (auto _ : state) {
        constexpr int kTimes = 15;
        double one = 1e9;
        double many = 1e9;
        for (int i = 0; i < kTimes; ++i) {
            one = std::min(one, seconds(1));
            many = std::min(many, seconds(count));
        }
        state.counters["One"] = one * 1000;
        state.counters["Many"] = many * 1000;
        state.counters["Ratio"] = many / one;
    }
}

// An edit that changes everything, and one that moves the screen on its background.
void prepareAll(benchmark::State& state, Canvas canvas, bool newBackground) {
    imaging::PreparedLayers layers;
    double step = 0;
    for (auto _ : state) {
        step += 0.01;
        const double pad = canvas.height * 0.06 + step;
        const Rect screen{pad, pad, canvas.width - 2 * pad, canvas.height - 2 * pad};
        const Rect bubble{canvas.width * 0.8, step, canvas.height * 0.22, canvas.height * 0.22};
        const imaging::RgbColour tone{newBackground ? std::fmod(step, 1) : 0.3, 0.4, 0.5};
        benchmark::DoNotOptimize(layers.background(canvas.width, canvas.height, tone));
        benchmark::DoNotOptimize(layers.roundedMatte(canvas.width, canvas.height, screen, 18));
        benchmark::DoNotOptimize(layers.roundedShadow(canvas.width, canvas.height, screen, 18));
        benchmark::DoNotOptimize(layers.ring());
        benchmark::DoNotOptimize(layers.ellipseMatte(canvas.width, canvas.height, bubble));
        benchmark::DoNotOptimize(layers.bubbleBorder(canvas.width, canvas.height, bubble));
    }
}

// Layers that are new, and the first frame of them, for which the painter converts them; less a frame like it, for
// which it has them.
void prepareFirstFrame(benchmark::State& state, Canvas canvas) {
    Studio studio(canvas.width, canvas.height, 2560, 1440);
    const Planar destination(canvas.width, canvas.height);
    imaging::Painter painter(2);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        studio.prepareLayers();
        painter.paint(studio.frame(kAll, 1), destination.destination());
        const auto first = std::chrono::steady_clock::now();
        painter.paint(studio.frame(kAll, 1), destination.destination());
        const auto second = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>((first - start) - (second - first)).count());
    }
}

template <typename Make>
void prepareOne(benchmark::State& state, const Make& make) {
    for (auto _ : state) benchmark::DoNotOptimize(make());
}

void registerAll() {
    struct Named {
        const char* name;
        unsigned layers;
    };
    constexpr Named kFrames[] = {{"background", kBackground},
                                 {"background+shadow", kBackground | kShadow},
                                 {"background+screen", kBackground | kScreen},
                                 {"background+ring", kBackground | kRing},
                                 {"background+cursor", kBackground | kCursor},
                                 {"background+webcam", kBackground | kWebcam},
                                 {"background+border", kBackground | kBorder},
                                 {"all", kAll},
                                 {"all+mask", kAll | kMask}};
    const auto add = [](const std::string& name, auto&& work) {
        benchmark::RegisterBenchmark(name.c_str(), work)->Unit(benchmark::kMillisecond);
    };
    for (const Canvas canvas : kCanvases) {
        const std::string size = formatted("/%d", canvas.width);
        for (const auto& frame : kFrames) {
            for (const double zoom : {1.0, 1.6}) {
                const std::string name = formatted("%s/%d/camera:%d", frame.name, canvas.width, int(zoom * 100));
                const unsigned layers = frame.layers;
                add("planar/" + name, [=](benchmark::State& state) { paintPlanar(state, canvas, layers, zoom); });
                if (layers != kAll) continue;
                add("bgra/" + name, [=](benchmark::State& state) { paintBgra(state, canvas, layers, zoom); });
            }
        }
        add("prepare/everything" + size, [=](benchmark::State& state) { prepareAll(state, canvas, true); });
        const std::string firstFrame = "prepare/firstFrame" + size;
        benchmark::RegisterBenchmark(firstFrame.c_str(),
                                     [=](benchmark::State& state) { prepareFirstFrame(state, canvas); })
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime();
        add("prepare/sameBackground" + size, [=](benchmark::State& state) { prepareAll(state, canvas, false); });
        const Rect screen{100, 100, canvas.width - 200.0, canvas.height - 200.0};
        const Rect bubble{canvas.width * 0.8, 30, canvas.height * 0.22, canvas.height * 0.22};
        add("prepare/background" + size, [=](benchmark::State& state) {
            prepareOne(state, [&] {
                const imaging::StudioBackground background(canvas.width, canvas.height, {0.2, 0.3, 0.4});
                return background.pixels().row(0);
            });
        });
        add("prepare/backgroundPlanes" + size, [=](benchmark::State& state) {
            const imaging::StudioBackground background(canvas.width, canvas.height, {0.2, 0.3, 0.4});
            prepareOne(state, [&] { return lumaOf(background, {}); });
        });
        add("prepare/matte" + size, [=](benchmark::State& state) {
            prepareOne(state, [&] { return imaging::makeRoundedMatte(canvas.width, canvas.height, screen, 18); });
        });
        add("prepare/shadow" + size, [=](benchmark::State& state) {
            prepareOne(state, [&] {
                return imaging::makeRoundedShadow(canvas.width, canvas.height, screen, 18, imaging::kScreenShadow);
            });
        });
        add("prepare/border" + size, [=](benchmark::State& state) {
            prepareOne(state, [&] { return imaging::makeBubbleBorder(canvas.width, canvas.height, bubble); });
        });
    }
    constexpr Size kMasks[] = {{480, 120}, {900, 500}, {2100, 1100}};
    for (const Size size : kMasks) {
        const std::string name = formatted("masks/32/%dx%d", int(size.width), int(size.height));
        benchmark::RegisterBenchmark(name.c_str(),
                                     [=](benchmark::State& state) { compareMasks(state, kCanvases[1], size, 32); })
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1);
    }
    benchmark::RegisterBenchmark("reference/all/640", compareWithReference)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1);
}

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    lumivastor::registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
