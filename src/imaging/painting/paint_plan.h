// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "imaging/painting/axis_placement.h"
#include "imaging/painting/axis_table.h"
#include "imaging/painting/mosaic.h"
#include "imaging/painting/resampling.h"
#include "imaging/painting/source_planes.h"
#include "imaging/picture.h"

// A recipe compiled for one grid of samples: layers from the bottom up, each with tables that say where its samples
// come from and, for every row, where it is visible and where it hides what is below.

namespace lumivastor::imaging {

struct BackgroundNode;
struct MosaicNode;

/// The channels that a grid of samples is painted in.
enum class GridChannels { bgra, luma, chroma };

/// One plane of a source with its tables for this grid.
struct PlanPlane {
    const std::uint8_t* samples = nullptr;
    std::ptrdiff_t stride = 0;
    int width = 0;  // readable bytes in a row
    const AxisTable* columns = nullptr;
    const AxisTable* rows = nullptr;
    int zero = 0;  // the sample value of zero: 16 for limited luma, 128 for chroma
    // Instead of samples and tables: a level for each of the grid's samples.
    const std::int16_t* levels = nullptr;
};

/// Layers know for each band of this many rows where they show.
inline constexpr int kTileHeight = 64;

struct PlanItem {
    // A layer: its planes are luma, cb and cr (`isYuv`), or blue, green and red, or the channels of this grid as they
    // are stored (`isConverted`); or no colours at all.
    bool isYuv = false;
    bool isConverted = false;
    YuvEncoding encoding;
    std::vector<PlanPlane> colours;
    std::optional<PlanPlane> alpha;
    AxisCoverage across, down;
    // Or a stack of items that is painted first and then blended as a whole.
    std::vector<PlanItem> children;

    int fade = kFullLevel;
    std::vector<std::vector<PlanItem>> mattes;

    // For the grid's rows from `firstRow` on; the rows above and below them are empty.
    int firstRow = 0;
    std::vector<RowRuns> runs;
    std::vector<AxisSpan> hidden;  // by items above
    // For each of the grid's bands: the columns around all that items above leave. Empty like `hidden`.
    std::vector<AxisSpan> shownInBands;

    RowRuns runsAt(int row) const { return isInRows(row) ? runs[static_cast<std::size_t>(row - firstRow)] : RowRuns{}; }
    AxisSpan hiddenAt(int row) const {
        return isInRows(row) && !hidden.empty() ? hidden[static_cast<std::size_t>(row - firstRow)] : AxisSpan{};
    }
    /// Whether items above hide all of a tile's columns, which begins in this row and ends in the same band.
    bool isHiddenIn(int row, AxisSpan columns) const {
        if (shownInBands.empty()) return false;
        const AxisSpan& shown = shownInBands[static_cast<std::size_t>(row / kTileHeight)];
        return std::max(shown.begin, columns.begin) >= std::min(shown.end, columns.end);
    }
    int endRow() const { return firstRow + static_cast<int>(runs.size()); }
    bool isInRows(int row) const { return row >= firstRow && row < endRow(); }

    // The memory that the pointers above point into.
    std::shared_ptr<const SourcePlanes> planes;
    YuvPicture yuv;
    std::vector<std::shared_ptr<const AxisTable>> tables;
};

struct PaintPlan {
    SampleGrid grid;
    GridChannels channels = GridChannels::bgra;
    std::vector<PlanItem> items;

    /// A picture of the recipe's stack and how many items it made. All items together are those of all layers in turn.
    struct Layer {
        Picture picture;
        std::size_t items = 0;
    };
    std::vector<Layer> layers;
};

/// What planning needs from its painter.
struct PlanServices {
    YuvEncoding encoding;  // of the destination, for luma and chroma
    SourcePlanesCache& sources;
    AxisTableCache& tables;
    /// The buffer's samples on this grid, converted now or earlier: blue and green hold the grid's channels. `plan`
    /// makes the plan that paints the buffer alone.
    std::function<std::shared_ptr<const SourcePlanes>(const std::shared_ptr<const BgraPremultipliedBuffer>& buffer,
                                                      const std::function<PaintPlan()>& plan)>
        converted;
    /// A background's levels on this planar grid, made now or earlier.
    std::function<std::shared_ptr<const SourcePlanes>(const BackgroundNode& node)> background;
    /// The squares of a pixellated picture, made now or for another grid of the same frame.
    std::function<std::shared_ptr<const Mosaics>(const MosaicNode& node)> mosaics;
};

/// Makes no more than one item for each layer of the recipe and each pixellated area. `earlier`, a plan of the same
/// grid, channels and services or an empty one, only saves time: items of layers that are the same, or
/// differ in the samples of a decoded picture alone, are taken from it.
PaintPlan makePaintPlan(const Picture& picture, const SampleGrid& grid, GridChannels channels,
                        const PlanServices& services, PaintPlan earlier = {});

}  // namespace lumivastor::imaging
