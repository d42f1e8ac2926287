// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "imaging/painting/paint_kernels.h"
#include "imaging/painting/resampling.h"

namespace lumivastor::imaging {

/// The samples `begin`...`end` of a destination axis that a source covers.
struct AxisSpan {
    int begin = 0;
    int end = 0;

    bool operator==(const AxisSpan&) const = default;
};

/// The table for filtering with the kernel. `positions[i]` is the position of sample i in samples of the source,
/// ascending; only those in `span` count, the others repeat their neighbours. `scale` is the grid distance between
/// neighbouring source samples, `readable` the samples out of `count` that may be used. Exact to 1/16384: positions are
/// not rounded to phases, so that gliding content moves evenly.
AxisTable makeKernelTable(std::span<const double> positions, AxisSpan span, double scale, SampleRange readable,
                          int count);

/// Keeps kernel tables from frame to frame: layers that move together share a table, and tables of layers that do not
/// move are made once. One thread at a time.
class AxisTableCache {
  public:
    std::shared_ptr<const AxisTable> kernelTable(std::span<const double> positions, AxisSpan span, double scale,
                                                 SampleRange readable, int count);
    /// Drops the tables that the last two frames did not use. Call it once a frame.
    void tidy();

  private:
    struct Entry {
        std::vector<double> positions;
        AxisSpan span;
        double scale = 1;
        SampleRange readable;
        int count = 0;
        std::shared_ptr<const AxisTable> table;
        std::uint64_t lastUse = 0;
    };

    std::vector<Entry> entries_;
    std::uint64_t frame_ = 0;
};

/// The table for averaging by area: the span's samples cover the source from `lows` to `highs`, whose first elements
/// belong to the span's first sample. Contains only the span.
AxisTable makeAreaTable(std::span<const double> lows, std::span<const double> highs, AxisSpan span, int count);

}  // namespace lumivastor::imaging
