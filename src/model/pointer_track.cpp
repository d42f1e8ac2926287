// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/pointer_track.h"

#include <algorithm>

#include "model/record_reader.h"
#include "model/record_writer.h"

namespace lumivastor::model {

namespace {

// Ten million pointer events; the parser itself ends at 4 GB.
constexpr std::uint64_t kMaxPointerBytes = 2ull << 30;

template <class Item>
void sortByTime(std::vector<Item>& items) {
    const auto earlier = [](const Item& a, const Item& b) { return a.t < b.t; };
    if (!std::is_sorted(items.begin(), items.end(), earlier)) std::stable_sort(items.begin(), items.end(), earlier);
}

}  // namespace

PointerTrack PointerTrack::load(const std::filesystem::path& folder) {
    return loadDocument<PointerTrack>(fileURL(folder), kMaxPointerBytes);
}

PointerTrack PointerTrack::parse(const FileBytes& document) {
    auto track = readDocument<PointerTrack>(document);
    // Our own recorder writes in order; everything above relies on it, so files from elsewhere are put in order.
    sortByTime(track.events);
    sortByTime(track.cursorChanges);
    if (track.windowFrames) sortByTime(*track.windowFrames);
    return track;
}

void PointerTrack::save(const std::filesystem::path& folder) const {
    saveDocument(*this, fileURL(folder));
}

}  // namespace lumivastor::model
