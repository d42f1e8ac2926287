// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "imaging/painting/paint_plan.h"

namespace lumivastor::imaging {

/// A rectangle of a grid that is painted at once; small enough that all rows in use stay in the second-level cache.
struct Tile {
    int left = 0, right = 0, top = 0, bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

inline constexpr int kTileWidth = 512;
inline constexpr int kTileHeight = 64;

/// Paints the tiles of a plan into levels. Keeps its working memory from tile to tile; one for each thread.
class TilePainter {
  public:
    /// The painted rows of one tile; each channel's rows lie kTileWidth + 32 levels apart.
    struct Canvas {
        static constexpr int kStride = kTileWidth + 32;
        int channels = 0;       // colours; alpha comes after them
        bool hasAlpha = false;  // otherwise the canvas begins black and opaque
        std::vector<std::int16_t> levels;

        std::int16_t* row(int channel, int y) {
            return levels.data() + (static_cast<std::ptrdiff_t>(channel) * kTileHeight + y) * kStride;
        }
        std::int16_t* alphaRow(int y) { return row(channels, y); }
    };

    /// The tile's levels, valid until the next call. `encoding`: of the destination, for luma and chroma. `withAlpha`:
    /// on a transparent canvas, even if the destination has no alpha.
    Canvas& paint(const PaintPlan& plan, const Tile& tile, const YuvEncoding& encoding, bool withAlpha = false);

  private:
    // Rows of one plane, filtered along their columns for a part of a tile.
    struct FilteredPlane {
        std::vector<std::int16_t> samples;
        std::ptrdiff_t stride = 0;
        int firstColumn = 0;
        int firstRow = 0;
        const PlanPlane* plane = nullptr;
    };
    struct Part {
        int begin = 0;
        int end = 0;
    };
    // Buffers of one level of nesting: a stack with a matte inside of a stack needs its own.
    struct Depth {
        Canvas canvas;
        std::array<FilteredPlane, 4> planes;
        std::array<std::array<std::int16_t, Canvas::kStride>, 6> rows;
    };

    // The part of a tile that a layer paints: in each row up to two parts, beside what hides it.
    struct LayerParts {
        Part columns, rows;  // around all parts
        std::array<std::array<Part, 2>, kTileHeight> parts;
        std::array<int, kTileHeight> counts{};
    };
    // A layer while a tile of it is painted.
    struct Layer {
        const PlanItem& item;
        const Tile& tile;
        std::size_t level;
        Canvas& canvas;
        Depth& own;
        bool isDirect = false;  // its planes are the canvas's channels
        std::size_t firstColour = 0, colourEnd = 0;

        bool hasColours() const { return colourEnd > 0; }
    };

    Depth& depth(std::size_t number);
    void prepareCanvas(Canvas& canvas, int channels, bool hasAlpha, const Tile& tile) const;
    void paintItems(const std::vector<PlanItem>& items, const Tile& tile, std::size_t level, Canvas& canvas,
                    bool mayHide);
    void paintLayer(const PlanItem& item, const Tile& tile, std::size_t level, Canvas& canvas, bool mayHide);
    static LayerParts partsToPaint(const PlanItem& item, const Tile& tile, bool mayHide);
    // Each paints a part of row `y`: any; an opaque one, in place; an opaque one, copied; one that is not opaque.
    void paintPart(const Layer& layer, int y, const Part& part);
    void makeInPlace(const Layer& layer, int y, const Part& part);
    void coverPart(const Layer& layer, int y, const Part& part);
    void blendPart(const Layer& layer, int y, const Part& part);
    // The part's colours in the canvas's channels; those that are 0 stay null. `alpha` is limited even without colours.
    void coloursOf(const Layer& layer, int y, const Part& part, std::int16_t* alpha, std::int16_t** colours);
    // Coverage, fade and mattes in one row of factors.
    void factorLevels(const Layer& layer, int y, const Part& part, std::int16_t* factors);
    void paintStack(const PlanItem& item, const Tile& tile, std::size_t level, Canvas& canvas);
    void filterPlane(FilteredPlane& to, const PlanPlane& plane, const PlanItem& item, const Part& columns,
                     const Part& rows);
    void levelsOf(const FilteredPlane& filtered, int row, const Part& columns, std::int16_t* levels);
    int convert(const PlanItem& item, Depth& at, int count, std::int16_t** colours);
    void matteLevels(const PlanItem& item, int row, const Part& columns, std::size_t level, std::int16_t* factors);

    const PaintPlan* plan_ = nullptr;
    YuvEncoding encoding_;
    std::vector<std::unique_ptr<Depth>> depths_;
    std::vector<std::uint8_t> rowCopy_;
    std::vector<const std::int16_t*> rowPointers_;
    std::vector<std::int16_t> rowWeights_;
};

}  // namespace lumivastor::imaging
