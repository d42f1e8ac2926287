// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/timeline_strip_layout.h"

#include <algorithm>

namespace lumivastor::editor {

namespace {

using Span = TimelineStripLayout::Span;
using Item = TimelineStripLayout::Item;

// Narrower spans cannot be seen, closer clicks not be told apart.
constexpr double kLeastWidth = 3;
constexpr double kLeastDistance = 4;
// Spans reach this far out of the visible part, so that their rounded ends are not seen there.
constexpr double kOver = 12;

class Shown {
  public:
    Shown(const TimeScale& scale, double duration) : scale_(scale), duration_(duration) {}

    bool isVisible(double seconds) const {
        return scale_.visible().start <= seconds && seconds <= scale_.visible().end;
    }
    /// nullopt if nothing of it is visible.
    std::optional<Item> item(double start, double end, int index) const {
        const double from = std::clamp(start, 0.0, duration_);
        const double to = std::clamp(end, from, duration_);
        if (to < scale_.visible().start || from > scale_.visible().end) return std::nullopt;
        return Item{span(from, to), index, isVisible(from), isVisible(to)};
    }
    std::optional<double> position(double seconds) const {
        return isVisible(seconds) ? std::optional(scale_.at(seconds)) : std::nullopt;
    }

  private:
    Span span(double start, double end) const {
        const double left = std::max(scale_.at(start), scale_.left() - kOver);
        const double right = std::min(std::max(scale_.at(end), left + kLeastWidth), scale_.right() + kOver);
        // At the very end of the recording the minimum width reaches back.
        const double over = end >= duration_ ? std::max(right - scale_.at(duration_), 0.0) : 0.0;
        return {std::max(left - over, std::min(left, scale_.left())), right - over};
    }

    const TimeScale& scale_;
    double duration_;
};

std::vector<TimelineStripLayout::Click> layOutClicks(std::span<const model::PointerSample> clicks,
                                                     const TimeScale& scale) {
    std::vector<TimelineStripLayout::Click> shown;
    const auto earlier = [](const model::PointerSample& click, double seconds) { return click.t < seconds; };
    auto next = std::lower_bound(clicks.begin(), clicks.end(), scale.visible().start, earlier);
    while (next != clicks.end() && next->t <= scale.visible().end) {
        shown.push_back({scale.at(next->t), next->t});
        // At least one further: a length that is nothing in seconds, or clicks at one time.
        const double least = next->t + scale.seconds(kLeastDistance);
        next = std::max(next + 1, std::lower_bound(next, clicks.end(), least, earlier));
    }
    return shown;
}

std::vector<double> layOutMarks(std::span<const double> marks, const TimeScale& scale) {
    std::vector<double> shown;
    auto next = std::lower_bound(marks.begin(), marks.end(), scale.visible().start);
    while (next != marks.end() && *next <= scale.visible().end) {
        shown.push_back(scale.at(*next));
        const double least = *next + scale.seconds(kLeastDistance);
        next = std::max(next + 1, std::lower_bound(next, marks.end(), least));
    }
    return shown;
}

}  // namespace

TimelineStripLayout layOutTimelineStrip(const TimelineStripContent& content, const TimeScale& scale,
                                        double labelDistance) {
    const Shown shown(scale, content.duration);
    TimelineStripLayout layout;
    layout.whole = {std::max(scale.at(0), scale.left()), std::min(scale.at(content.duration), scale.right())};
    layout.ticks = rulerTicks(scale, content.duration, content.fps, labelDistance);
    for (const Interval& segment : content.kept) {
        if (const auto item = shown.item(segment.start, segment.end, 0)) layout.kept.push_back(item->span);
    }
    int index = 0;
    for (const model::ZoomSpec& zoom : content.zooms) {
        // Those behind the recording are shown at its end.
        if (zoom.start > scale.visible().end && scale.visible().end < content.duration) break;
        if (const auto item = shown.item(zoom.start, zoom.end, index)) layout.zooms.push_back(*item);
        ++index;
    }
    index = 0;
    for (const model::CutRange& cut : content.cuts) {
        const auto item = shown.item(cut.start, cut.end, index);
        if (item && cut.start < cut.end) layout.cuts.push_back(*item);
        ++index;
    }
    layout.clicks = layOutClicks(content.clicks, scale);
    layout.marks = layOutMarks(content.marks, scale);
    if (content.pendingCutStart) {
        const double start = *content.pendingCutStart;
        if (const auto item = shown.item(start, std::max(start, content.playhead), 0)) layout.pendingCut = item->span;
    }
    layout.trimStart = shown.position(content.trim.start);
    layout.trimEnd = shown.position(content.trim.end);
    layout.playhead = shown.position(std::clamp(content.playhead, 0.0, std::max(content.duration, 0.0)));
    return layout;
}

}  // namespace lumivastor::editor
