// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/timeline_strip_layout.h"

#include <algorithm>

namespace lumivastor::editor {

namespace {

// Narrower spans cannot be seen, closer clicks not be told apart.
constexpr double kLeastWidth = 3;
constexpr double kLeastDistance = 4;

class Scale {
  public:
    Scale(double duration, double width, double margin)
        : duration_(duration), left_(margin), length_(std::max(width - 2 * margin, 0.0)) {}

    double at(double seconds) const {
        return left_ + (duration_ > 0 ? std::clamp(seconds / duration_, 0.0, 1.0) : 0.0) * length_;
    }
    TimelineStripLayout::Span span(double start, double end) const {
        const double left = at(start);
        const double right = std::max(at(end), left + kLeastWidth);
        // At the very end the little width reaches back.
        const double over = std::max(right - (left_ + length_), 0.0);
        return {std::max(left - over, left_), right - over};
    }

  private:
    double duration_, left_, length_;
};

}  // namespace

TimelineStripLayout layOutTimelineStrip(const TimelineStripContent& content, double width, double margin) {
    const Scale scale(content.duration, width, margin);
    TimelineStripLayout layout;
    layout.whole = {scale.at(0), scale.at(content.duration)};
    layout.playhead = scale.at(content.playhead);
    for (const Interval& segment : content.kept) layout.kept.push_back(scale.span(segment.start, segment.end));
    for (const model::ZoomSpec& zoom : content.zooms) layout.zooms.push_back(scale.span(zoom.start, zoom.end));
    for (const model::PointerSample& click : content.clicks) {
        const double x = scale.at(click.t);
        if (layout.clicks.empty() || x - layout.clicks.back() >= kLeastDistance) layout.clicks.push_back(x);
    }
    if (content.pendingCutStart) {
        layout.pendingCut = scale.span(*content.pendingCutStart, std::max(*content.pendingCutStart, content.playhead));
    }
    return layout;
}

double timelineSecondsAt(double x, double duration, double width, double margin) {
    const double length = width - 2 * margin;
    return length > 0 ? std::clamp((x - margin) / length, 0.0, 1.0) * duration : 0.0;
}

}  // namespace lumivastor::editor
