// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "imaging/pixel_buffer.h"

namespace lumivastor::imaging {

/// The columns of a row that are not transparent, and one run of them that is opaque.
struct RowRuns {
    int hullBegin = 0;
    int hullEnd = 0;
    int opaqueBegin = 0;
    int opaqueEnd = 0;

    bool operator==(const RowRuns&) const = default;
};

/// A buffer prepared for painters: each channel in its own plane, with its transparent and its opaque parts known.
struct SourcePlanes {
    int width = 0;
    int height = 0;
    std::ptrdiff_t stride = 0;
    // Colours are left out when all of them are 0 (`black`), alpha when all of it is 255 (`opaque`).
    std::vector<std::uint8_t> blue, green, red, alpha;
    // Or, finer than bytes: the channels of a planar grid as levels (paint_kernels.h). The colours above are then
    // empty.
    std::vector<std::int16_t> levels[2];
    bool opaque = false;
    bool black = false;
    std::vector<RowRuns> runs;
};

SourcePlanes makeSourcePlanes(const BgraPremultipliedBuffer& buffer);

/// Determines whether and where planes are opaque. Their alpha must be filled in.
void describeAlpha(SourcePlanes& planes);

/// The planes of recently used buffers that still exist. One thread at a time.
class SourcePlanesCache {
  public:
    std::shared_ptr<const SourcePlanes> planesOf(const std::shared_ptr<const BgraPremultipliedBuffer>& buffer);
    /// Drops buffers that no longer exist, and all but the last few used. Call it once a frame.
    void tidy();

  private:
    struct Entry {
        std::weak_ptr<const BgraPremultipliedBuffer> buffer;
        std::shared_ptr<const SourcePlanes> planes;
        std::uint64_t lastUse = 0;
    };

    std::vector<Entry> entries_;
    std::uint64_t frame_ = 0;
};

}  // namespace lumivastor::imaging
