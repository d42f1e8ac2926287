// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_labels.h"

#include <algorithm>
#include <cstddef>

#include "base/formatted.h"

namespace lumivastor::editor {

namespace {

using Span = TimelineStripLayout::Span;
using Item = TimelineStripLayout::Item;

// Less has no room for a digit, so that its width need not be measured.
constexpr double kLeastLabel = 5;

// What is left of the parts beside a span that covers them.
std::vector<Span> without(const std::vector<Span>& parts, const Span& cover) {
    std::vector<Span> left;
    for (const Span& part : parts) {
        if (cover.right <= part.left || cover.left >= part.right) {
            left.push_back(part);
            continue;
        }
        if (part.left < cover.left) left.push_back({part.left, cover.left});
        if (cover.right < part.right) left.push_back({cover.right, part.right});
    }
    return left;
}

}  // namespace

std::vector<Span> uncoveredParts(std::span<const Item> zooms, int current, const Span& whole) {
    const auto top = std::find_if(zooms.begin(), zooms.end(),
                                  [current](const Item& zoom) { return current >= 0 && zoom.index == current; });
    std::vector<Span> found;
    for (auto zoom = zooms.begin(); zoom != zooms.end(); ++zoom) {
        std::vector<Span> parts = {{std::max(zoom->span.left, whole.left), std::min(zoom->span.right, whole.right)}};
        if (zoom != top) {
            // They are in the order of their starts.
            for (auto next = zoom + 1; next != zooms.end() && next->span.left < zoom->span.right; ++next) {
                parts = without(parts, next->span);
            }
            if (top != zooms.end()) parts = without(parts, top->span);
        }
        const auto widest = std::max_element(parts.begin(), parts.end(),
                                             [](const Span& a, const Span& b) { return a.width() < b.width(); });
        const bool isVisible = widest != parts.end() && widest->width() > 0;
        found.push_back(isVisible ? *widest : Span{zoom->span.left, zoom->span.left});
    }
    return found;
}

std::string zoomLabel(int index, double room, const std::function<double(const std::string& text)>& widthOf) {
    if (room < kLeastLabel) return {};
    for (const char* form : {"Zoom %d", "%d"}) {
        std::string text = formatted(form, index + 1);
        if (widthOf(text) <= room) return text;
    }
    return {};
}

}  // namespace lumivastor::editor
