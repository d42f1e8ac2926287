// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_selection.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace lumivastor::editor {

StripSelection neighbourOf(const StripSelection& selection, bool isForward, std::span<const model::ZoomSpec> zooms,
                           std::span<const model::CutRange> cuts) {
    std::vector<std::pair<double, StripSelection>> items;
    items.reserve(zooms.size() + cuts.size());
    for (int i = 0; i < static_cast<int>(zooms.size()); ++i) {
        items.emplace_back(zooms[static_cast<std::size_t>(i)].start, StripSelection{StripSelection::Kind::zoom, i});
    }
    for (int i = 0; i < static_cast<int>(cuts.size()); ++i) {
        items.emplace_back(cuts[static_cast<std::size_t>(i)].start, StripSelection{StripSelection::Kind::cut, i});
    }
    if (items.empty()) return selection;
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    const auto found =
        std::find_if(items.begin(), items.end(), [&](const auto& item) { return item.second == selection; });
    if (found == items.end()) return isForward ? items.front().second : items.back().second;
    if (isForward) return (found + 1 == items.end() ? found : found + 1)->second;
    return (found == items.begin() ? found : found - 1)->second;
}

}  // namespace lumivastor::editor
