// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "imaging/painting/filtered_plane.h"
#include "imaging/painting/paint_plan.h"

namespace lumivastor::imaging {

/// A rectangle of a grid that is painted at once. Its rows are painted in strips, which are small enough that all
/// levels in use stay in the first-level cache. Lies within one square of kTileWidth x kTileHeight samples, counted
/// from the grid's corner; a part of such a square is painted bit for bit like the whole.
struct Tile {
    int left = 0, right = 0, top = 0, bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

inline constexpr int kTileWidth = 1024;

/// Paints the tiles of a plan into levels. Keeps its working memory from tile to tile; one for each thread.
class TilePainter {
  public:
    /// The painted rows of one strip; each channel's rows lie kTileWidth + 32 levels apart.
    struct Canvas {
        static constexpr int kStride = kTileWidth + 32;
        int channels = 0;       // colours; alpha comes after them
        bool hasAlpha = false;  // otherwise the canvas begins black and opaque
        bool isEmpty = false;   // nothing was painted on it
        std::vector<std::int16_t> levels;

        std::int16_t* row(int channel, int y) {
            return levels.data() + (static_cast<std::ptrdiff_t>(channel) * kTileHeight + y) * kStride;
        }
        std::int16_t* alphaRow(int y) { return row(channels, y); }
    };

    /// Where one channel of a planar grid is stored: its levels plus `offset` (of 255).
    struct Target {
        std::uint8_t* samples = nullptr;  // of the whole grid
        std::ptrdiff_t stride = 0;
        int offset = 0;
    };

    /// Takes the levels of one strip, whose first row is the canvas's.
    using Store = std::function<void(Canvas& canvas, const Tile& strip)>;

    /// Paints a tile and hands its strips to `store` from the top down. `encoding`: of the destination, for luma and
    /// chroma. `withAlpha`: on a transparent canvas, even if the destination has no alpha.
    void paint(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding, const Store& store,
               bool withAlpha = false);

    /// Paints a tile of luma or chroma into its planes. What lies under nothing else goes there straight away, without
    /// levels in between.
    void paint(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding, std::span<const Target> targets);

  private:
    using Part = AxisSpan;
    // The part of a tile that a layer paints: in each row up to two parts, beside what hides it.
    struct LayerParts {
        int top = 0;         // of the tile
        Part columns, rows;  // around all parts
        std::array<std::array<Part, 2>, kTileHeight> parts;
        std::array<int, kTileHeight> counts{};

        std::span<const Part> partsIn(int row) const {
            const auto at = static_cast<std::size_t>(row - top);
            return std::span(parts[at]).first(static_cast<std::size_t>(counts[at]));
        }
    };
    using Planes = std::array<FilteredPlane, 4>;
    // What a layer keeps from strip to strip of a tile.
    struct Kept {
        bool isPlaced = false;
        LayerParts parts;
        Planes planes;
    };
    // Buffers of one level of nesting: a stack with a matte inside of a stack needs its own.
    struct Depth {
        Canvas canvas;
        Kept kept;
        std::array<std::array<std::int16_t, Canvas::kStride>, 6> rows;
    };

    // What of a strip's row goes straight into the targets, and the layer that it is of.
    struct Direct {
        const PlanItem* item = nullptr;
        Part part;
    };
    // A layer while a tile of it is painted.
    struct Layer {
        const PlanItem& item;
        const Tile& tile;
        std::size_t level;
        Canvas& canvas;
        Depth& own;
        Planes& planes;
        bool isDirect = false;  // its planes are the canvas's channels
        std::size_t firstColour = 0, colourEnd = 0;
        bool mayBeDirect = false;  // it is an item of the plan itself

        bool hasColours() const { return colourEnd > 0; }
    };

    Depth& depth(std::size_t number);
    void prepareCanvas(Canvas& canvas, int channels, bool hasAlpha, const Tile& tile) const;
    static int stripRows(const Canvas& canvas);
    void paintStrips(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding, bool withAlpha,
                     const Store& store);
    void findDirectParts(const Tile& strip);
    // Whether opaque parts of it can go straight into the targets.
    bool canBeDirect(const PlanItem& item) const;
    bool isDirectItem(const PlanItem& item) const;
    // Clears the rows that no item covers from side to side.
    void clearUncovered(Canvas& canvas, const Tile& strip) const;
    static bool showsIn(const PlanItem& item, const Tile& tile, bool mayHide);
    void paintItems(const std::vector<PlanItem>& items, const Tile& tile, std::size_t level, Canvas& canvas,
                    bool mayHide);
    // Paints a strip of `whole`, for which `kept` is kept; it may be the same.
    void paintLayer(const PlanItem& item, const Tile& whole, const Tile& tile, std::size_t level, Canvas& canvas,
                    bool mayHide, bool mayBeDirect, Kept& kept);
    static void placeParts(LayerParts& layer, const PlanItem& item, const Tile& tile, bool mayHide);
    // The end of the rows from `y` on in which a layer looks the same as in row `y`: squares are many rows high.
    static int equalRowsEnd(const Layer& layer, const LayerParts& parts, int y, int rowsEnd);
    const Part* directPartOf(const Layer& layer, int y) const;
    // Each paints a part of rows that are equal: any; an opaque one; an opaque one, in place; an opaque one, copied;
    // one that is not opaque; an opaque one, into the targets.
    void paintPart(const Layer& layer, const Part& rows, const Part& part);
    void paintOpaquePart(const Layer& layer, const Part& rows, const Part& part);
    void makeInPlace(const Layer& layer, int y, const Part& part);
    void coverPart(const Layer& layer, int y, const Part& part);
    void blendPart(const Layer& layer, const Part& rows, const Part& part);
    static void prefetchPart(const Layer& layer, int y, const Part& part);
    void storeDirectParts(const Layer& layer, const Part& rows);
    void storePart(const Layer& layer, const Part& rows, const Part& part);
    // The part's colours in the canvas's channels; those that are 0 stay null. `alpha` is limited even without colours.
    void coloursOf(const Layer& layer, int y, const Part& part, std::int16_t* alpha, std::int16_t** colours);
    // Coverage, fade and mattes in one row of factors; says whether any is below kFullLevel.
    bool factorLevels(const Layer& layer, int y, const Part& part, std::int16_t* factors);
    // Coverage and fade alone, as above; without them the factors are all kFullLevel.
    static bool coverageLevels(const PlanItem& item, int y, const Part& part, std::int16_t* factors);
    Tile wholeTile(const Tile& part) const;
    void paintStack(const PlanItem& item, const Tile& tile, std::size_t level, Canvas& canvas);
    int convert(const PlanItem& item, Depth& at, int count, std::int16_t** colours);
    void matteLevels(const PlanItem& item, int row, const Part& columns, std::size_t level, std::int16_t* factors);
    // A row of a layer's alpha without mattes of its own.
    void alphaLevels(const PlanItem& item, int row, const Part& columns, std::int16_t* alpha);

    const PaintPlan* plan_ = nullptr;
    YuvEncoding encoding_;
    std::vector<std::unique_ptr<Depth>> depths_;
    std::vector<std::unique_ptr<Kept>> kept_;  // for each of the plan's items
    std::vector<std::size_t> showing_;         // those items that show in the current strip
    std::span<const Target> targets_;          // none if levels are wanted
    std::array<Direct, kTileHeight> directs_;  // for each of the strip's rows
    FilteredPlane matteRows_;
};

}  // namespace lumivastor::imaging
