#include "imaging/painter.h"

#include <algorithm>

#include "base/precondition.h"
#include "imaging/band_workers.h"
#include "imaging/paint_kernels.h"
#include "imaging/paint_plan.h"
#include "imaging/tile_painter.h"

namespace lumivastor {

struct Painter::State {
    explicit State(int threads) : workers(threads), tilePainters(static_cast<std::size_t>(threads)) {}

    BandWorkers workers;
    std::vector<TilePainter> tilePainters;  // one for each thread
    SourcePlanesCache sources;

    PaintPlan plan(const Picture& picture, const SampleGrid& grid, GridChannels channels);
    void paintBgra(const Picture& picture, BgraPremultipliedBuffer& destination);
    void paintBand(const PaintPlan& plan, int band, TilePainter& painter, const YuvDestination& destination);
};

namespace {

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

PaintPlan Painter::State::plan(const Picture& picture, const SampleGrid& grid, GridChannels channels) {
    const auto paint = [this](const Picture& input, int width, int height) {
        auto buffer = std::make_shared<BgraPremultipliedBuffer>(width, height);
        paintBgra(input, *buffer);
        return std::shared_ptr<const BgraPremultipliedBuffer>(buffer);
    };
    return makePaintPlan(picture, grid, channels, {sources, paint});
}

void Painter::State::paintBgra(const Picture& picture, BgraPremultipliedBuffer& destination) {
    const auto grid = SampleGrid::full(destination.width(), destination.height());
    const PaintPlan bgra = plan(picture, grid, GridChannels::bgra);
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
            storePlane(canvas.row(0, y), 128, destination.blueDifference + at, tile.width());
            storePlane(canvas.row(1, y), 128, destination.redDifference + at, tile.width());
        }
    });
}

Painter::Painter(int threads) : state_(std::make_unique<State>(threads)) {}

Painter::~Painter() = default;

void Painter::paint(const Picture& picture, BgraPremultipliedBuffer& destination) {
    state_->sources.tidy();
    if (!destination.isEmpty()) state_->paintBgra(picture, destination);
}

void Painter::paint(const Picture& picture, const YuvDestination& destination) {
    state_->sources.tidy();
    if (destination.width <= 0 || destination.height <= 0) return;
    State& state = *state_;
    const PaintPlan luma =
        state.plan(picture, SampleGrid::full(destination.width, destination.height), GridChannels::luma);
    const PaintPlan differences = state.plan(
        picture, SampleGrid::colourDifferences(destination.width, destination.height), GridChannels::colourDifferences);
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

}  // namespace lumivastor
