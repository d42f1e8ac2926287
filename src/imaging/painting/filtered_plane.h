// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "imaging/painting/axis_table.h"
#include "imaging/painting/paint_plan.h"

namespace lumivastor::imaging {

/// One plane of a layer while a part of a tile is painted: its rows, filtered along their columns. A ring: it holds the
/// rows that the current strip needs, so that the next strip finds those that both need. Planes that are copied and
/// planes of levels are read where they are.
class FilteredPlane {
  public:
    /// What a layer paints of a tile.
    struct Place {
        AxisSpan layer;    // the layer's columns of the grid
        AxisSpan columns;  // of the part
        AxisSpan rows;     // of the part
        int rowsAtOnce = 0;
    };

    /// Before the first strip of a tile.
    void forget() { plane_ = nullptr; }

    /// Filters what the grid's rows `rows`, at most `rowsAtOnce`, need and the strips before did not. Strips come from
    /// the top down.
    void prepare(const PlanPlane& plane, const Place& place, const AxisSpan& rows);

    /// The levels of a prepared row; writes exactly.
    void levels(int row, const AxisSpan& columns, std::int16_t* levels);

    /// Stores prepared rows as bytes: the levels plus `offset` (of 255). The first of them begins at `bytes`. Not for
    /// more than kMaxQuickTaps.
    void store(const AxisSpan& rows, const AxisSpan& columns, int offset, std::uint8_t* bytes,
               std::ptrdiff_t stride) const;

    /// Asks for a row that will be needed soon, if it is read where it is.
    void prefetch(int row, const AxisSpan& columns) const;

    /// How many rows before their use they are asked for: tiles read rows in pieces, which processors do not foresee.
    static constexpr int kRowsAhead = 4;

  private:
    bool isCopied() const { return plane_->columns->contiguous && plane_->rows->taps == 1; }
    const std::uint8_t* copiedBytes(int row, int column) const;
    void start();
    void filter(const AxisSpan& rows);
    std::int16_t* filteredRow(int number) { return samples_.data() + (number & (ringRows_ - 1)) * stride_; }

    const PlanPlane* plane_ = nullptr;  // null: holds nothing yet
    Place place_;
    std::vector<std::int16_t> samples_;
    std::ptrdiff_t stride_ = 0;
    int ringRows_ = 1;  // a power of two
    int firstColumn_ = 0;
    int endColumn_ = 0;
    int endRow_ = 0;   // the first row that is not filtered yet
    int lastRow_ = 0;  // the end of those that the part needs
    std::vector<std::uint8_t> rowCopy_;
    std::vector<const std::int16_t*> rowPointers_;
    std::vector<std::int16_t> rowWeights_;
};

}  // namespace lumivastor::imaging
