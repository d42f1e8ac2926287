// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
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

/// Gets cleared memory from the system, which clears the pages of large blocks only when they are used, and leaves it
/// as it is: most of a layer of the canvas's size is transparent.
template <typename Value>
struct ClearedMemory {
    using value_type = Value;

    ClearedMemory() = default;
    template <typename Other>
    ClearedMemory(const ClearedMemory<Other>&) {}

    Value* allocate(std::size_t count) {
        void* const block = std::calloc(count, sizeof(Value));
        if (block == nullptr) throw std::bad_alloc();
        return static_cast<Value*>(block);
    }
    void deallocate(Value* block, std::size_t) { std::free(block); }
    template <typename Other, typename... From>
    void construct(Other* value, From&&... from) {
        if constexpr (sizeof...(From) > 0) ::new (static_cast<void*>(value)) Other(std::forward<From>(from)...);
    }

    bool operator==(const ClearedMemory&) const = default;
};
using PlaneSamples = std::vector<std::uint8_t, ClearedMemory<std::uint8_t>>;

/// A buffer prepared for painters: each channel in its own plane, with its transparent and its opaque parts known.
struct SourcePlanes {
    int width = 0;
    int height = 0;
    std::ptrdiff_t stride = 0;
    // Colours are left out when all of them are 0 (`black`), alpha when all of it is 255 (`opaque`).
    PlaneSamples blue, green, red, alpha;
    // Or, finer than bytes: the channels of a planar grid as levels (paint_kernels.h). The colours above are then
    // empty.
    std::vector<std::int16_t, ClearedMemory<std::int16_t>> levels[2];
    bool opaque = false;
    bool black = false;
    std::vector<RowRuns> runs;
    std::vector<std::size_t> equalRunsEnd;  // for each row: the end of the rows from it on that have the same runs
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
