// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "imaging/pixel_buffer.h"

namespace lumivastor::imaging {

/// Which columns of a row hold anything, and one stretch of them that is opaque.
struct RowRuns {
    int hullBegin = 0;
    int hullEnd = 0;
    int opaqueBegin = 0;
    int opaqueEnd = 0;

    bool operator==(const RowRuns&) const = default;
};

/// A buffer as painters like it: each channel by itself, and known where it is transparent and where it is opaque.
struct SourcePlanes {
    int width = 0;
    int height = 0;
    std::ptrdiff_t stride = 0;
    // Colours are left out when all of them are 0 (`black`), alpha when all of it is 255 (`opaque`).
    std::vector<std::uint8_t> blue, green, red, alpha;
    // Or what is finer than bytes: the channels of a planar grid as levels (paint_kernels.h). Then there is no colour
    // above.
    std::vector<std::int16_t> levels[2];
    bool opaque = false;
    bool black = false;
    std::vector<RowRuns> runs;
};

SourcePlanes makeSourcePlanes(const BgraPremultipliedBuffer& buffer);

/// Finds out, for planes whose alpha is filled in, whether and where they are opaque.
void describeAlpha(SourcePlanes& planes);

/// The planes of the buffers that were asked for lately and still exist. One thread at a time.
class SourcePlanesCache {
  public:
    std::shared_ptr<const SourcePlanes> planesOf(const std::shared_ptr<const BgraPremultipliedBuffer>& buffer);
    /// Forgets buffers that no longer exist, and all but the last few used. To be called once a frame.
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
