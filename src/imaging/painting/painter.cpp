// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/painter.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include "base/precondition.h"
#include "imaging/painting/background_planes.h"
#include "imaging/painting/band_workers.h"
#include "imaging/painting/mosaic.h"
#include "imaging/painting/paint_kernels.h"
#include "imaging/painting/paint_plan.h"
#include "imaging/painting/tile_painter.h"
#include "imaging/picture_node.h"

namespace lumivastor::imaging {

int paintingThreads() {
    // Bands of a picture gain little beyond this, and decoders and encoders have threads as well.
    constexpr unsigned kMaximum = 8;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, kMaximum));
}

namespace {

// Waking other threads and waiting for them takes as long as painting so many pixels.
constexpr std::int64_t kPixelsWorthSharing = 1 << 16;

struct PlanarPlans {
    PaintPlan luma;
    PaintPlan chroma;
    YuvEncoding encoding;  // of the destination
};

}  // namespace

struct Painter::State {
    explicit State(int threads) : workers(threads), tilePainters(static_cast<std::size_t>(threads)) {}

    BandWorkers workers;
    std::vector<TilePainter> tilePainters;  // one for each thread
    SourcePlanesCache sources;
    AxisTableCache tables;

    // A buffer's samples as a grid of some destination wants them.
    struct Converted {
        std::weak_ptr<const void> buffer;  // or background
        SampleGrid grid;
        GridChannels channels;
        YuvEncoding encoding;
        std::shared_ptr<const SourcePlanes> planes;
        std::uint64_t lastUse = 0;
    };
    std::vector<Converted> converted;
    std::uint64_t frame = 0;

    // The squares of this frame's pixellated pictures, for all of its grids.
    std::map<const MosaicNode*, std::shared_ptr<const Mosaics>> mosaics;
    Work work;

    // The plans of the last frame, if that was painted in part: most of the next one is the same.
    std::optional<PlanarPlans> lastPlans;

    void begin();
    std::shared_ptr<const Mosaics> mosaicsOf(const MosaicNode& node);
    PlanarPlans plansOf(const Picture& picture, const YuvDestination& destination);
    PaintPlan plan(const Picture& picture, const SampleGrid& grid, GridChannels channels, const YuvEncoding& encoding,
                   PaintPlan earlier = {});
    SourcePlanes convert(const PaintPlan& plan, const YuvEncoding& encoding);
    void paintBgra(const Picture& picture, BgraPremultipliedBuffer& destination);
    static void paintTile(const PaintPlan& plan, const Tile& tile, TilePainter& painter,
                          const YuvDestination& destination);
};

namespace {

std::size_t layersIn(const std::vector<PlanItem>& items) {
    std::size_t count = items.size();
    for (const PlanItem& item : items) {
        count += layersIn(item.children);
        for (const auto& matte : item.mattes) count += layersIn(matte);
    }
    return count;
}

int bandsOf(const SampleGrid& grid) {
    return (grid.rows + kTileHeight - 1) / kTileHeight;
}

// Calls `paint` for each tile that a part of a grid touches, with what of the tile lies in the part.
template <typename Paint>
void forTilesIn(const PixelRect& part, const Paint& paint) {
    for (int top = part.y; top < part.maxY();) {
        const int bottom = std::min((top / kTileHeight + 1) * kTileHeight, part.maxY());
        for (int left = part.x; left < part.maxX();) {
            const int right = std::min((left / kTileWidth + 1) * kTileWidth, part.maxX());
            paint(Tile{left, right, top, bottom});
            left = right;
        }
        top = bottom;
    }
}

// Calls `paint` for each tile of a band.
template <typename Paint>
void forTiles(const SampleGrid& grid, int band, const Paint& paint) {
    const int top = band * kTileHeight;
    const int bottom = std::min(top + kTileHeight, grid.rows);
    for (int left = 0; left < grid.columns; left += kTileWidth) {
        paint(Tile{left, std::min(left + kTileWidth, grid.columns), top, bottom});
    }
}

}  // namespace

void Painter::State::begin() {
    mosaics.clear();
    work = {};

    // As for the split channels: unused for two seconds means no longer in use.
    constexpr std::uint64_t kKeptFrames = 120;
    ++frame;
    std::erase_if(converted, [&](const Converted& layer) {
        const bool isInPlans = layer.planes.use_count() > 1;
        return layer.buffer.expired() || (layer.lastUse + kKeptFrames < frame && !isInPlans);
    });
    sources.tidy();
    tables.tidy();
}

std::shared_ptr<const Mosaics> Painter::State::mosaicsOf(const MosaicNode& node) {
    const auto known = mosaics.find(&node);
    if (known != mosaics.end()) return known->second;
    const auto showGround = [&](const MosaicRect& part) {
        constexpr double kMaximumPixels = 1e9;
        precondition(static_cast<double>(part.width()) * part.height() < kMaximumPixels, "a picture fits into memory");
        BgraPremultipliedBuffer pixels(part.width(), part.height());
        paintBgra(node.input.transformed(AffineTransform::translation(-part.left, -part.bottom)), pixels);
        return pixels;
    };
    const auto shareOut = [&](int count, const std::function<void(int)>& each) {
        workers.run(count, [&](int number, int) { each(number); });
    };
    auto made = std::make_shared<const Mosaics>(makeMosaics(node.plan, showGround, shareOut));
    work.squares += made->squares();
    mosaics.emplace(&node, made);
    return made;
}

PaintPlan Painter::State::plan(const Picture& picture, const SampleGrid& grid, GridChannels channels,
                               const YuvEncoding& encoding, PaintPlan earlier) {
    const auto once = [&](const std::shared_ptr<const void>& buffer, const auto& make) {
        for (Converted& layer : converted) {
            if (layer.buffer.lock() == buffer && layer.grid == grid && layer.channels == channels &&
                layer.encoding == encoding) {
                layer.lastUse = frame;
                return layer.planes;
            }
        }
        auto planes = std::make_shared<const SourcePlanes>(make());
        converted.push_back({buffer, grid, channels, encoding, planes, frame});
        return planes;
    };
    const auto convertedOnce = [&](const std::shared_ptr<const BgraPremultipliedBuffer>& buffer,
                                   const std::function<PaintPlan()>& planAlone) {
        return once(buffer, [&] { return convert(planAlone(), encoding); });
    };
    const auto backgroundOnce = [&](const BackgroundNode& node) {
        return once(node.background, [&] {
            return channels == GridChannels::luma ? lumaOf(*node.background, encoding)
                                                  : chromaOf(*node.background, encoding);
        });
    };
    const auto mosaicsOnce = [this](const MosaicNode& node) { return mosaicsOf(node); };
    PaintPlan made =
        makePaintPlan(picture, grid, channels, {encoding, sources, tables, convertedOnce, backgroundOnce, mosaicsOnce},
                      std::move(earlier));
    work.layers += layersIn(made.items);
    return made;
}

PlanarPlans Painter::State::plansOf(const Picture& picture, const YuvDestination& destination) {
    const SampleGrid full = SampleGrid::full(destination.width, destination.height);
    const SampleGrid half = SampleGrid::chroma(destination.width, destination.height);
    PlanarPlans earlier;
    if (lastPlans && lastPlans->luma.grid == full && lastPlans->encoding == destination.encoding) {
        earlier = std::move(*lastPlans);
    }
    lastPlans.reset();
    PlanarPlans plans;
    plans.encoding = destination.encoding;
    plans.luma = plan(picture, full, GridChannels::luma, plans.encoding, std::move(earlier.luma));
    plans.chroma = plan(picture, half, GridChannels::chroma, plans.encoding, std::move(earlier.chroma));
    return plans;
}

SourcePlanes Painter::State::convert(const PaintPlan& alone, const YuvEncoding& encoding) {
    SourcePlanes planes;
    planes.width = alone.grid.columns;
    planes.height = alone.grid.rows;
    planes.stride = (planes.width + 63) / 64 * 64;
    const std::size_t size = static_cast<std::size_t>(planes.stride) * static_cast<std::size_t>(planes.height);
    const bool isLuma = alone.channels == GridChannels::luma;
    planes.black = alone.items.front().colours.empty();
    planes.alpha.resize(size);
    if (!planes.black) planes.blue.resize(size);
    if (!planes.black && !isLuma) planes.green.resize(size);
    workers.run(bandsOf(alone.grid), [&](int band, int thread) {
        forTiles(alone.grid, band, [&](const Tile& tile) {
            const auto store = [&](TilePainter::Canvas& canvas, const Tile& strip) {
                if (canvas.isEmpty) return;  // the planes are transparent there
                for (int y = 0; y < strip.height(); ++y) {
                    const std::ptrdiff_t at = (strip.top + y) * planes.stride + strip.left;
                    storePlane(canvas.alphaRow(y), 0, planes.alpha.data() + at, strip.width());
                    if (planes.black) continue;
                    storePlane(canvas.row(0, y), isLuma ? 0 : 128, planes.blue.data() + at, strip.width());
                    if (!isLuma) storePlane(canvas.row(1, y), 128, planes.green.data() + at, strip.width());
                }
            };
            tilePainters[static_cast<std::size_t>(thread)].paint(alone, tile, encoding, store, true);
        });
    });
    describeAlpha(planes);
    return planes;
}

void Painter::State::paintBgra(const Picture& picture, BgraPremultipliedBuffer& destination) {
    const auto grid = SampleGrid::full(destination.width(), destination.height());
    const PaintPlan bgra = plan(picture, grid, GridChannels::bgra, {});
    workers.run(bandsOf(grid), [&](int band, int thread) {
        TilePainter& painter = tilePainters[static_cast<std::size_t>(thread)];
        const auto store = [&](TilePainter::Canvas& canvas, const Tile& strip) {
            for (int y = 0; y < strip.height(); ++y) {
                storeBgra(canvas.row(0, y), canvas.row(1, y), canvas.row(2, y), canvas.alphaRow(y),
                          destination.pixel(strip.left, strip.top + y), strip.width());
            }
        };
        forTiles(grid, band, [&](const Tile& tile) { painter.paint(bgra, tile, {}, store); });
    });
}

void Painter::State::paintTile(const PaintPlan& some, const Tile& tile, TilePainter& painter,
                               const YuvDestination& destination) {
    const int black = destination.encoding.range == YuvRange::limited ? 16 : 0;
    const TilePainter::Target luma[] = {{destination.luma, destination.lumaStride, black}};
    const TilePainter::Target differences[] = {{destination.cb, destination.chromaStride, 128},
                                               {destination.cr, destination.chromaStride, 128}};
    const bool isLuma = some.channels == GridChannels::luma;
    const auto targets = isLuma ? std::span<const TilePainter::Target>(luma) : differences;
    painter.paint(some, tile, destination.encoding, targets);
}

Painter::Painter(int threads) : state_(std::make_unique<State>(threads)) {}

Painter::~Painter() = default;

const Painter::Work& Painter::lastWork() const {
    return state_->work;
}

void Painter::paint(const Picture& picture, BgraPremultipliedBuffer& destination) {
    state_->begin();
    state_->lastPlans.reset();
    if (!destination.isEmpty()) state_->paintBgra(picture, destination);
}

void Painter::paint(const Picture& picture, const YuvDestination& destination) {
    state_->begin();
    state_->lastPlans.reset();
    if (destination.width <= 0 || destination.height <= 0) return;
    State& state = *state_;
    const PlanarPlans plans = state.plansOf(picture, destination);
    const int lumaBands = bandsOf(plans.luma.grid);
    state.workers.run(lumaBands + bandsOf(plans.chroma.grid), [&](int number, int thread) {
        const PaintPlan& plan = number < lumaBands ? plans.luma : plans.chroma;
        const int band = number < lumaBands ? number : number - lumaBands;
        forTiles(plan.grid, band, [&](const Tile& tile) {
            State::paintTile(plan, tile, state.tilePainters[static_cast<std::size_t>(thread)], destination);
        });
    });
}

void Painter::paint(const Picture& picture, const YuvDestination& destination, const DamageArea& damage) {
    state_->begin();
    const PixelRect all{0, 0, destination.width, destination.height};
    // Parts that are apart in luma may share chroma samples.
    DamageArea luma(damage.maximumRects());
    DamageArea chroma(damage.maximumRects());
    for (const PixelRect& rect : damage.rects()) {
        const PixelRect inside = intersection(rect, all);
        luma.add(inside);
        const int left = inside.x / 2;
        const int top = inside.y / 2;
        chroma.add({left, top, (inside.maxX() + 1) / 2 - left, (inside.maxY() + 1) / 2 - top});
    }
    if (luma.isEmpty()) return;
    State& state = *state_;
    PlanarPlans plans = state.plansOf(picture, destination);
    std::vector<std::pair<const PaintPlan*, Tile>> tiles;
    const auto addTiles = [&](const PaintPlan& plan, const DamageArea& area) {
        for (const PixelRect& rect : area.rects())
            forTilesIn(rect, [&](const Tile& tile) { tiles.emplace_back(&plan, tile); });
    };
    addTiles(plans.luma, luma);
    addTiles(plans.chroma, chroma);
    const auto paintOne = [&](int number, int thread) {
        const auto& [plan, tile] = tiles[static_cast<std::size_t>(number)];
        State::paintTile(*plan, tile, state.tilePainters[static_cast<std::size_t>(thread)], destination);
    };
    const auto count = static_cast<int>(tiles.size());
    if (luma.area() >= kPixelsWorthSharing) {
        state.workers.run(count, paintOne);
    } else {
        for (int number = 0; number < count; ++number) paintOne(number, 0);
    }
    state.lastPlans = std::move(plans);
}

}  // namespace lumivastor::imaging
