// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_parts.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace lumivastor::editor {

namespace {

using Kind = StripPart::Kind;
using Span = TimelineStripLayout::Span;
using Item = TimelineStripLayout::Item;

constexpr double kReach = 5;
// A trim handle lies outside of what is kept, so that what begins there can still be taken hold of.
constexpr double kTrimOutside = 9;
constexpr double kTrimInside = 2;

struct Ends {
    Kind body, start, end;
};
constexpr Ends kZoom{Kind::zoom, Kind::zoomStart, Kind::zoomEnd};
constexpr Ends kCut{Kind::cut, Kind::cutStart, Kind::cutEnd};

// How badly an end fits: its distance, more from the outside, so that of two that touch the pointer's own is taken.
std::optional<double> distanceToEnd(double end, double inward, double inside, double x) {
    const double into = (x - end) * inward;
    if (into >= 0) return into <= inside ? std::optional(into) : std::nullopt;
    return -into <= kReach ? std::optional(kReach - into) : std::nullopt;
}

class Search {
  public:
    Search(const StripSelection& selection, double x) : selection_(selection), x_(x) {}

    void take(const std::vector<Item>& items, const Ends& kinds, StripSelection::Kind selected) {
        for (const Item& item : items) {
            const bool isSelected = selection_ == StripSelection{selected, item.index};
            const double inside = std::min(kReach, item.span.width() / 3);
            if (item.hasStart) {
                offer(distanceToEnd(item.span.left, 1, inside, x_), {kinds.start, item.index}, isSelected);
            }
            if (item.hasEnd) {
                offer(distanceToEnd(item.span.right, -1, inside, x_), {kinds.end, item.index}, isSelected);
            }
        }
        if (best_.kind != Kind::outside) return;
        for (const Item& item : items) {
            if (!item.span.contains(x_)) continue;
            // Of those that overlap, the last lies above the others, and the selected one above all.
            best_ = {kinds.body, item.index};
            if (selection_ == StripSelection{selected, item.index}) return;
        }
    }
    StripPart best() const { return best_; }

  private:
    void offer(std::optional<double> distance, StripPart part, bool isSelected) {
        if (!distance) return;
        const double score = *distance - (isSelected ? 10 * kReach : 0);
        if (best_.kind != Kind::outside && score >= score_) return;
        best_ = part;
        score_ = score;
    }

    const StripSelection& selection_;
    double x_;
    StripPart best_;
    double score_ = 0;
};

StripPart trimHandleAt(const TimelineStripLayout& layout, double x) {
    const auto isOn = [](double into) { return -kTrimOutside <= into && into <= kTrimInside; };
    if (layout.trimStart && isOn(x - *layout.trimStart)) return {Kind::trimStart};
    if (layout.trimEnd && isOn(*layout.trimEnd - x)) return {Kind::trimEnd};
    return {};
}

StripPart clickAt(const std::vector<TimelineStripLayout::Click>& clicks, double x) {
    const auto next = std::lower_bound(clicks.begin(), clicks.end(), x,
                                       [](const TimelineStripLayout::Click& click, double at) { return click.x < at; });
    StripPart found;
    double nearest = kReach;
    for (auto each = next == clicks.begin() ? next : next - 1; each != clicks.end() && each <= next; ++each) {
        if (std::abs(each->x - x) >= nearest) continue;
        nearest = std::abs(each->x - x);
        found = {Kind::click, static_cast<int>(each - clicks.begin())};
    }
    return found;
}

bool isOnPlayhead(const TimelineStripLayout& layout, double x) {
    return layout.playhead && std::abs(x - *layout.playhead) <= kReach;
}

StripPart cutAt(const TimelineStripLayout& layout, const StripSelection& selection, double x) {
    Search search(selection, x);
    search.take(layout.cuts, kCut, StripSelection::Kind::cut);
    return search.best();
}

}  // namespace

StripSelection selectionOf(const StripPart& part) {
    if (part.isOfZoom()) return {StripSelection::Kind::zoom, part.index};
    if (part.isOfCut()) return {StripSelection::Kind::cut, part.index};
    return {};
}

StripPart stripPartAt(const TimelineStripLayout& layout, const StripLanes& lanes, const StripSelection& selection,
                      double x, double y) {
    if (lanes.ruler.contains(y)) return {isOnPlayhead(layout, x) ? Kind::playhead : Kind::empty};
    if (!lanes.track.contains(y)) return {};
    if (y < lanes.zooms.bottom()) {
        Search search(selection, x);
        search.take(layout.zooms, kZoom, StripSelection::Kind::zoom);
        if (search.best().kind != Kind::outside) return search.best();
    }
    if (const StripPart handle = trimHandleAt(layout, x); handle.kind != Kind::outside) return handle;
    const StripPart cut = cutAt(layout, selection, x);
    if (cut.isOfCut() && cut.kind != Kind::cut) return cut;
    if (isOnPlayhead(layout, x)) return {Kind::playhead};
    if (lanes.clicks.contains(y)) {
        if (const StripPart click = clickAt(layout.clicks, x); click.kind != Kind::outside) return click;
    }
    return cut.isOfCut() ? cut : StripPart{Kind::empty};
}

Qt::CursorShape pointerShape(const StripPart& part, bool isDragging) {
    switch (part.kind) {
        case Kind::zoom:
        case Kind::cut:
            return isDragging ? Qt::ClosedHandCursor : Qt::OpenHandCursor;
        case Kind::zoomStart:
        case Kind::zoomEnd:
        case Kind::cutStart:
        case Kind::cutEnd:
        case Kind::trimStart:
        case Kind::trimEnd:
        case Kind::playhead:
            return Qt::SizeHorCursor;
        case Kind::click:
            return Qt::PointingHandCursor;
        case Kind::outside:
        case Kind::empty:
            break;
    }
    return Qt::ArrowCursor;
}

}  // namespace lumivastor::editor
