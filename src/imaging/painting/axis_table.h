// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "imaging/painting/paint_kernels.h"
#include "imaging/painting/resampling.h"

namespace lumivastor::imaging {

/// The samples `begin`...`end` of a destination axis that a source shows at all.
struct AxisSpan {
    int begin = 0;
    int end = 0;

    bool operator==(const AxisSpan&) const = default;
};

/// The table for filtering with the kernel. `positions[i]` is where sample i lies, in units of the source's samples,
/// ascending; only those of `span` count, the others repeat their neighbours. `scale` is the grid distance of
/// neighbouring source samples, `readable` the samples that may be used out of `count`. Exact to a 16384th: nothing is
/// rounded to phases, so that what glides moves evenly.
AxisTable makeKernelTable(std::span<const double> positions, AxisSpan span, double scale, SampleRange readable,
                          int count);

/// Keeps kernel tables of the frame before: layers that move together share theirs, and those of layers that do not
/// move are made once. One thread at a time.
class AxisTableCache {
  public:
    std::shared_ptr<const AxisTable> kernelTable(std::span<const double> positions, AxisSpan span, double scale,
                                                 SampleRange readable, int count);
    /// Forgets what the last two frames did not need. To be called once a frame.
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

/// The table for squares that are shown by area: the span's samples cover the source from `lows` to `highs`, the first
/// of which are those of its first sample. Goes no further than the span.
AxisTable makeAreaTable(std::span<const double> lows, std::span<const double> highs, AxisSpan span, int count);

}  // namespace lumivastor::imaging
