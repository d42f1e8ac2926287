// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/filtered_plane.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "imaging/painting/paint_kernels.h"

namespace lumivastor::imaging {

namespace {

template <typename Sample>
void ask(const Sample* samples, std::size_t count) {
    constexpr std::size_t kLine = 64 / sizeof(Sample);
    for (std::size_t at = 0; at < count; at += kLine) hwy::Prefetch(samples + at);
}

}  // namespace

const std::uint8_t* FilteredPlane::copiedBytes(int row, int column) const {
    const int first = plane_->columns->first[static_cast<std::size_t>(place_.layer.begin)];
    return plane_->samples + plane_->rows->first[static_cast<std::size_t>(row)] * plane_->stride + first + column -
           place_.layer.begin;
}

void FilteredPlane::prepare(const PlanPlane& plane, const Place& place, const AxisSpan& rows) {
    const bool isFirst = plane_ == nullptr;
    plane_ = &plane;
    place_ = place;
    if (plane.levels != nullptr || isCopied()) return;
    if (isFirst) start();
    filter(rows);
}

void FilteredPlane::start() {
    const AxisTable& across = *plane_->columns;
    const AxisTable& down = *plane_->rows;
    const auto firstOf = [&](int row) { return down.first[static_cast<std::size_t>(row)]; };
    // Copies have any length; filters work in blocks.
    const AxisSpan span = place_.layer;
    const AxisSpan columns = place_.columns;
    const AxisSpan rows = place_.rows;
    firstColumn_ = across.contiguous ? std::max(columns.begin, span.begin) : columns.begin / 16 * 16;
    endColumn_ = across.contiguous ? std::min(columns.end, span.end) : (columns.end + 15) / 16 * 16;
    stride_ = (endColumn_ - firstColumn_ + 63) / 32 * 32;
    endRow_ = firstOf(rows.begin);
    lastRow_ = firstOf(rows.end - 1) + down.taps;
    int rowsInUse = 1;
    for (int row = rows.begin; row < rows.end; ++row) {
        const int last = std::min(row + place_.rowsAtOnce, rows.end) - 1;
        rowsInUse = std::max(rowsInUse, firstOf(last) + down.taps - firstOf(row));
    }
    ringRows_ = static_cast<int>(std::bit_ceil(static_cast<unsigned>(rowsInUse)));
    const std::size_t size = static_cast<std::size_t>(ringRows_) * static_cast<std::size_t>(stride_) + 32;
    if (samples_.size() < size) samples_.resize(size);
}

void FilteredPlane::filter(const AxisSpan& rows) {
    const AxisTable& across = *plane_->columns;
    const AxisTable& down = *plane_->rows;
    const int begin = firstColumn_;
    const int end = endColumn_;
    const AxisSpan span = place_.layer;
    const int firstRow = std::max(endRow_, down.first[static_cast<std::size_t>(rows.begin)]);
    const int endRow = down.first[static_cast<std::size_t>(rows.end - 1)] + down.taps;

    // The kernels read whole runs of bytes: near the end of the row they get a copy with room behind it.
    int from = 0;
    int last = 0;
    if (across.contiguous) {
        from = across.first[static_cast<std::size_t>(span.begin)] + begin - span.begin;
        last = from + end - begin;
    } else {
        const auto sampleAt = [&](int i) {
            return across.first[static_cast<std::size_t>(std::clamp(i, span.begin, span.end - 1))];
        };
        from = sampleAt(begin);
        last = sampleAt(end - 1) + across.taps;
    }
    const bool needsCopy = last + 32 > plane_->width;
    if (needsCopy && rowCopy_.size() < static_cast<std::size_t>(last - from) + 64) {
        rowCopy_.resize(static_cast<std::size_t>(last - from) + 64);
    }
    for (int row = firstRow; row < endRow; ++row) {
        const std::uint8_t* source = plane_->samples + row * plane_->stride;
        if (row + kRowsAhead < lastRow_) {
            ask(source + kRowsAhead * plane_->stride + from, static_cast<std::size_t>(last - from));
        }
        if (needsCopy) {
            std::memcpy(rowCopy_.data(), source + from, static_cast<std::size_t>(std::min(last, plane_->width) - from));
            source = rowCopy_.data() - from;
        }
        if (across.contiguous) {
            widenRow(source + from, end - begin, filteredRow(row));
        } else {
            filterRow(across, begin, end, source, filteredRow(row));
        }
    }
    endRow_ = std::max(endRow_, endRow);
}

void FilteredPlane::levels(int row, const AxisSpan& columns, std::int16_t* levels) {
    const PlanPlane& plane = *plane_;
    const int count = columns.end - columns.begin;
    if (plane.levels != nullptr) return copyLevels(levels, plane.levels + row * plane_->stride + columns.begin, count);
    if (isCopied()) {
        return levelsOfBytes(copiedBytes(row, columns.begin), count, plane.zero, levels);
    }
    const AxisTable& down = *plane_->rows;
    const auto taps = static_cast<std::size_t>(down.taps);
    if (rowPointers_.size() < taps) {
        rowPointers_.resize(taps);
        rowWeights_.resize(taps);
    }
    const int first = down.first[static_cast<std::size_t>(row)];
    for (int tap = 0; tap < down.taps; ++tap) {
        const auto at = static_cast<std::size_t>(tap);
        rowPointers_[at] = filteredRow(first + tap) + (columns.begin - firstColumn_);
        rowWeights_[at] = down.weight(row, tap);
    }
    combineRows(rowPointers_.data(), rowWeights_.data(), down.taps, count, plane.zero, levels);
}

void FilteredPlane::store(const AxisSpan& rows, const AxisSpan& columns, int offset, std::uint8_t* bytes,
                          std::ptrdiff_t stride) const {
    const PlanPlane& plane = *plane_;
    const int count = columns.end - columns.begin;
    if (plane.levels == nullptr && !isCopied()) {
        const RowRing ring{samples_.data() + (columns.begin - firstColumn_), stride_, ringRows_ - 1};
        return storeRows(ring, *plane.rows, rows.begin, rows.end, count, plane.zero, offset, bytes, stride);
    }
    for (int y = rows.begin; y < rows.end; ++y, bytes += stride) {
        if (plane.levels != nullptr) {
            storePlane(plane.levels + y * plane.stride + columns.begin, offset, bytes, count);
        } else {
            addToBytes(copiedBytes(y, columns.begin), offset - plane.zero, count, bytes);
        }
    }
}

void FilteredPlane::prefetch(int row, const AxisSpan& columns) const {
    const auto count = static_cast<std::size_t>(columns.end - columns.begin);
    if (plane_->levels != nullptr) {
        ask(plane_->levels + row * plane_->stride + columns.begin, count);
    } else if (isCopied()) {
        ask(copiedBytes(row, columns.begin), count);
    }
}

}  // namespace lumivastor::imaging
