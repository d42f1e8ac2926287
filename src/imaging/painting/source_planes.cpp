// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/source_planes.h"

#include <algorithm>
#include <cstring>

#include "imaging/painting/paint_kernels.h"

namespace lumivastor::imaging {

namespace {

// Layers unused for this many frames go: a change of settings replaces them, and a cursor shape is quickly split again.
constexpr std::uint64_t kKeptFrames = 120;

bool isAll(const PlaneSamples& plane, std::ptrdiff_t stride, int width, int height, std::uint8_t value) {
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* row = plane.data() + y * stride;
        if (row[0] != value || std::memcmp(row, row + 1, static_cast<std::size_t>(width - 1)) != 0) return false;
    }
    return true;
}

// The first or the last byte of a row that is not `value`, or the row's end or beginning; eight at a time.
const std::uint8_t* firstOther(const std::uint8_t* begin, const std::uint8_t* end, std::uint8_t value) {
    const std::uint64_t all = value * 0x0101010101010101U;
    std::uint64_t some = 0;
    for (; end - begin >= 8; begin += 8) {
        std::memcpy(&some, begin, 8);
        if (some != all) break;
    }
    while (begin < end && *begin == value) ++begin;
    return begin;
}

const std::uint8_t* behindLastOther(const std::uint8_t* begin, const std::uint8_t* end, std::uint8_t value) {
    const std::uint64_t all = value * 0x0101010101010101U;
    std::uint64_t some = 0;
    for (; end - begin >= 8; end -= 8) {
        std::memcpy(&some, end - 8, 8);
        if (some != all) break;
    }
    while (end > begin && end[-1] == value) --end;
    return end;
}

RowRuns runsOf(const std::uint8_t* alpha, int width) {
    RowRuns runs;
    const std::uint8_t* end = alpha + width;
    const std::uint8_t* first = firstOther(alpha, end, 0);
    if (first == end) return runs;
    const std::uint8_t* last = behindLastOther(first, end, 0);
    runs.hullBegin = static_cast<int>(first - alpha);
    runs.hullEnd = static_cast<int>(last - alpha);
    const auto* opaque =
        static_cast<const std::uint8_t*>(std::memchr(first, 255, static_cast<std::size_t>(last - first)));
    if (opaque == nullptr) return runs;
    runs.opaqueBegin = static_cast<int>(opaque - alpha);
    runs.opaqueEnd = static_cast<int>(firstOther(opaque, last, 255) - alpha);
    return runs;
}

}  // namespace

SourcePlanes makeSourcePlanes(const BgraPremultipliedBuffer& buffer) {
    SourcePlanes planes;
    planes.width = buffer.width();
    planes.height = buffer.height();
    planes.stride = static_cast<std::ptrdiff_t>(buffer.stride() / 4);
    const std::size_t size = static_cast<std::size_t>(planes.stride) * static_cast<std::size_t>(planes.height);
    planes.alpha.resize(size);
    planes.black = true;
    for (int y = 0; y < planes.height; ++y) {
        const std::uint32_t bits = unitedPixels(buffer.row(y), planes.width);
        if (bits == 0) continue;  // transparent, as the planes are
        if (planes.black && (bits & 0xffffffU) != 0) {
            planes.black = false;
            for (auto* plane : {&planes.blue, &planes.green, &planes.red}) plane->resize(size);
        }
        const std::ptrdiff_t at = y * planes.stride;
        if (planes.black) {
            alphaOf(buffer.row(y), planes.alpha.data() + at, planes.width);
        } else {
            splitBgra(buffer.row(y), planes.blue.data() + at, planes.green.data() + at, planes.red.data() + at,
                      planes.alpha.data() + at, planes.width);
        }
    }
    describeAlpha(planes);
    return planes;
}

void describeAlpha(SourcePlanes& planes) {
    planes.opaque = isAll(planes.alpha, planes.stride, planes.width, planes.height, 255);
    if (planes.opaque) {
        planes.alpha = {};
    } else {
        planes.runs.reserve(static_cast<std::size_t>(planes.height));
        for (int y = 0; y < planes.height; ++y) {
            planes.runs.push_back(runsOf(planes.alpha.data() + y * planes.stride, planes.width));
        }
        const std::size_t rows = planes.runs.size();
        planes.equalRunsEnd.assign(rows, rows);
        for (std::size_t row = rows - 1; row-- > 0;) {
            if (planes.runs[row] == planes.runs[row + 1]) {
                planes.equalRunsEnd[row] = planes.equalRunsEnd[row + 1];
            } else {
                planes.equalRunsEnd[row] = row + 1;
            }
        }
    }
}

std::shared_ptr<const SourcePlanes> SourcePlanesCache::planesOf(
    const std::shared_ptr<const BgraPremultipliedBuffer>& buffer) {
    for (Entry& entry : entries_) {
        if (entry.buffer.lock() == buffer) {
            entry.lastUse = frame_;
            return entry.planes;
        }
    }
    entries_.push_back({buffer, std::make_shared<const SourcePlanes>(makeSourcePlanes(*buffer)), frame_});
    return entries_.back().planes;
}

void SourcePlanesCache::tidy() {
    ++frame_;
    std::erase_if(entries_, [&](const Entry& entry) {
        // Plans that a painter keeps use planes without asking for them.
        const bool isInUse = entry.planes.use_count() > 1;
        return entry.buffer.expired() || (entry.lastUse + kKeptFrames < frame_ && !isInUse);
    });
}

}  // namespace lumivastor::imaging
