// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/painter.h"

#include <algorithm>
#include <functional>
#include <map>
#include <thread>
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

struct Painter::State {
    explicit State(int threads) : workers(threads), tilePainters(static_cast<std::size_t>(threads)) {}

    BandWorkers workers;
    std::vector<TilePainter> tilePainters;  // one for each thread
    SourcePlanesCache sources;
    AxisTableCache tables;

    // A buffer's samples as a grid of some destination wants them.
    struct Converted {
        std::weak_ptr<const BgraPremultipliedBuffer> buffer;
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

    void begin();
    std::shared_ptr<const Mosaics> mosaicsOf(const MosaicNode& node);
    PaintPlan plan(const Picture& picture, const SampleGrid& grid, GridChannels channels, const YuvEncoding& encoding);
    SourcePlanes convert(const PaintPlan& plan, const YuvEncoding& encoding);
    void paintBgra(const Picture& picture, BgraPremultipliedBuffer& destination);
    void paintBand(const PaintPlan& plan, int band, TilePainter& painter, const YuvDestination& destination);
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
        return layer.buffer.expired() || layer.lastUse + kKeptFrames < frame;
    });
    sources.tidy();
    tables.tidy();
}

std::shared_ptr<const Mosaics> Painter::State::mosaicsOf(const MosaicNode& node) {
    const auto known = mosaics.find(&node);
    if (known != mosaics.end()) return known->second;
    const auto showGround = [&](const PixelRect& part) {
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
                               const YuvEncoding& encoding) {
    const auto once = [&](const std::shared_ptr<const BgraPremultipliedBuffer>& buffer, const auto& make) {
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
        return once(node.pixels(), [&] {
            return channels == GridChannels::luma ? lumaOf(*node.background, encoding)
                                                  : chromaOf(*node.background, encoding);
        });
    };
    const auto mosaicsOnce = [this](const MosaicNode& node) { return mosaicsOf(node); };
    PaintPlan made =
        makePaintPlan(picture, grid, channels, {encoding, sources, tables, convertedOnce, backgroundOnce, mosaicsOnce});
    work.layers += layersIn(made.items);
    return made;
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
            auto& canvas = tilePainters[static_cast<std::size_t>(thread)].paint(alone, tile, encoding, true);
            for (int y = 0; y < tile.height(); ++y) {
                const std::ptrdiff_t at = (tile.top + y) * planes.stride + tile.left;
                storePlane(canvas.alphaRow(y), 0, planes.alpha.data() + at, tile.width());
                if (planes.black) continue;
                storePlane(canvas.row(0, y), isLuma ? 0 : 128, planes.blue.data() + at, tile.width());
                if (!isLuma) storePlane(canvas.row(1, y), 128, planes.green.data() + at, tile.width());
            }
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
        forTiles(grid, band, [&](const Tile& tile) {
            auto& canvas = painter.paint(bgra, tile, {});
            for (int y = 0; y < tile.height(); ++y) {
                storeBgra(canvas.row(0, y), canvas.row(1, y), canvas.row(2, y), canvas.alphaRow(y),
                          destination.pixel(tile.left, tile.top + y), tile.width());
            }
        });
    });
}

void Painter::State::paintBand(const PaintPlan& some, int band, TilePainter& painter,
                               const YuvDestination& destination) {
    forTiles(some.grid, band, [&](const Tile& tile) {
        auto& canvas = painter.paint(some, tile, destination.encoding);
        for (int y = 0; y < tile.height(); ++y) {
            const std::ptrdiff_t row = tile.top + y;
            if (some.channels == GridChannels::luma) {
                const int black = destination.encoding.range == YuvRange::limited ? 16 : 0;
                storePlane(canvas.row(0, y), black, destination.luma + row * destination.lumaStride + tile.left,
                           tile.width());
                continue;
            }
            const std::ptrdiff_t at = row * destination.chromaStride + tile.left;
            storePlane(canvas.row(0, y), 128, destination.cb + at, tile.width());
            storePlane(canvas.row(1, y), 128, destination.cr + at, tile.width());
        }
    });
}

Painter::Painter(int threads) : state_(std::make_unique<State>(threads)) {}

Painter::~Painter() = default;

const Painter::Work& Painter::lastWork() const {
    return state_->work;
}

void Painter::paint(const Picture& picture, BgraPremultipliedBuffer& destination) {
    state_->begin();
    if (!destination.isEmpty()) state_->paintBgra(picture, destination);
}

void Painter::paint(const Picture& picture, const YuvDestination& destination) {
    state_->begin();
    if (destination.width <= 0 || destination.height <= 0) return;
    State& state = *state_;
    const PaintPlan luma = state.plan(picture, SampleGrid::full(destination.width, destination.height),
                                      GridChannels::luma, destination.encoding);
    const PaintPlan differences = state.plan(picture, SampleGrid::chroma(destination.width, destination.height),
                                             GridChannels::chroma, destination.encoding);
    const int lumaBands = bandsOf(luma.grid);
    state.workers.run(lumaBands + bandsOf(differences.grid), [&](int band, int thread) {
        TilePainter& painter = state.tilePainters[static_cast<std::size_t>(thread)];
        if (band < lumaBands) {
            state.paintBand(luma, band, painter, destination);
        } else {
            state.paintBand(differences, band - lumaBands, painter, destination);
        }
    });
}

}  // namespace lumivastor::imaging
