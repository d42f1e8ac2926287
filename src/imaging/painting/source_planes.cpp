// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/source_planes.h"

#include <algorithm>
#include <cstring>

#include "imaging/painting/paint_kernels.h"

namespace lumivastor::imaging {

namespace {

// Layers unused for this many frames go: a change of settings replaces them, and a cursor shape is quickly split again.
constexpr std::uint64_t kKeptFrames = 120;

bool isAll(const std::vector<std::uint8_t>& plane, std::ptrdiff_t stride, int width, int height, std::uint8_t value) {
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* row = plane.data() + y * stride;
        if (row[0] != value || std::memcmp(row, row + 1, static_cast<std::size_t>(width - 1)) != 0) return false;
    }
    return true;
}

RowRuns runsOf(const std::uint8_t* alpha, int width) {
    RowRuns runs;
    const std::uint8_t* end = alpha + width;
    const auto isSet = [](std::uint8_t value) { return value != 0; };
    const std::uint8_t* first = std::find_if(alpha, end, isSet);
    if (first == end) return runs;
    const std::uint8_t* last = end;
    while (last[-1] == 0) --last;
    runs.hullBegin = static_cast<int>(first - alpha);
    runs.hullEnd = static_cast<int>(last - alpha);
    const auto* opaque =
        static_cast<const std::uint8_t*>(std::memchr(first, 255, static_cast<std::size_t>(last - first)));
    if (opaque == nullptr) return runs;
    runs.opaqueBegin = static_cast<int>(opaque - alpha);
    runs.opaqueEnd =
        static_cast<int>(std::find_if(opaque, last, [](std::uint8_t value) { return value != 255; }) - alpha);
    return runs;
}

}  // namespace

SourcePlanes makeSourcePlanes(const BgraPremultipliedBuffer& buffer) {
    SourcePlanes planes;
    planes.width = buffer.width();
    planes.height = buffer.height();
    planes.stride = static_cast<std::ptrdiff_t>(buffer.stride() / 4);
    const std::size_t size = static_cast<std::size_t>(planes.stride) * static_cast<std::size_t>(planes.height);
    for (auto* plane : {&planes.blue, &planes.green, &planes.red, &planes.alpha}) plane->resize(size);
    for (int y = 0; y < planes.height; ++y) {
        const std::ptrdiff_t at = y * planes.stride;
        splitBgra(buffer.row(y), planes.blue.data() + at, planes.green.data() + at, planes.red.data() + at,
                  planes.alpha.data() + at, planes.width);
    }
    const auto isZero = [&](const std::vector<std::uint8_t>& plane) {
        return isAll(plane, planes.stride, planes.width, planes.height, 0);
    };
    planes.black = isZero(planes.blue) && isZero(planes.green) && isZero(planes.red);
    if (planes.black) planes.blue = planes.green = planes.red = {};
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
    std::erase_if(entries_,
                  [&](const Entry& entry) { return entry.buffer.expired() || entry.lastUse + kKeptFrames < frame_; });
}

}  // namespace lumivastor::imaging
