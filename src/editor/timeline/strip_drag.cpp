// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_drag.h"

#include <algorithm>
#include <cmath>

#include "render/overview/quiet_stretches.h"

namespace lumivastor::editor {

namespace {

using Kind = StripPart::Kind;

std::optional<double> nearest(std::span<const double> sorted, double seconds, double reach) {
    const auto next = std::lower_bound(sorted.begin(), sorted.end(), seconds);
    std::optional<double> found;
    double distance = reach;
    const auto offer = [&](double candidate) {
        if (std::abs(candidate - seconds) > distance) return;
        distance = std::abs(candidate - seconds);
        found = candidate;
    };
    if (next != sorted.begin()) offer(*(next - 1));
    if (next != sorted.end()) offer(*next);
    return found;
}

}  // namespace

std::optional<StripDrag> beginStripDrag(const StripPart& part, double pointer, const TimelineStripContent& content) {
    const auto index = static_cast<std::size_t>(std::max(part.index, 0));
    if (part.isOfZoom() && part.index >= 0 && index < content.zooms.size()) {
        return StripDrag{part, {content.zooms[index].start, content.zooms[index].end}, pointer};
    }
    if (part.isOfCut() && part.index >= 0 && index < content.cuts.size()) {
        return StripDrag{part, {content.cuts[index].start, content.cuts[index].end}, pointer};
    }
    if (part.kind == Kind::trimStart || part.kind == Kind::trimEnd) {
        return StripDrag{part, {content.trim.start, content.trim.end}, pointer};
    }
    return std::nullopt;
}

std::vector<double> snapTimes(const StripPart& part, const TimelineStripContent& content,
                              std::span<const double> others) {
    std::vector<double> times(others.begin(), others.end());
    times.reserve(times.size() + content.clicks.size() + 2 * (content.zooms.size() + content.cuts.size()) + 5);
    times.push_back(content.playhead);
    for (const model::PointerSample& click : content.clicks) times.push_back(click.t);
    times.insert(times.end(), content.marks.begin(), content.marks.end());
    for (std::size_t i = 0; i < content.zooms.size(); ++i) {
        if (part.isOfZoom() && static_cast<int>(i) == part.index) continue;
        times.push_back(content.zooms[i].start);
        times.push_back(content.zooms[i].end);
    }
    for (std::size_t i = 0; i < content.cuts.size(); ++i) {
        if (part.isOfCut() && static_cast<int>(i) == part.index) continue;
        times.push_back(content.cuts[i].start);
        times.push_back(content.cuts[i].end);
    }
    if (part.kind != Kind::trimStart) times.push_back(content.trim.start);
    if (part.kind != Kind::trimEnd) times.push_back(content.trim.end);
    times.push_back(0);
    times.push_back(content.duration);
    std::sort(times.begin(), times.end());
    return times;
}

std::vector<double> soundBeginnings(const render::RecordingOverview& overview, double duration) {
    std::vector<double> seconds;
    for (const auto& track : {overview.systemSound, overview.microphone}) {
        if (track == nullptr) continue;
        for (const Interval& quiet : render::quietStretches(*track, duration)) {
            if (quiet.end < duration) seconds.push_back(quiet.end);
        }
    }
    return seconds;
}

StripDragStep stripDragStep(const StripDrag& drag, double pointer, std::span<const double> snaps, double reach) {
    const double moved = pointer - drag.grabbedAt;
    const bool isEnd =
        drag.part.kind == Kind::zoomEnd || drag.part.kind == Kind::cutEnd || drag.part.kind == Kind::trimEnd;
    StripDragStep step{(isEnd ? drag.origin.end : drag.origin.start) + moved, std::nullopt};
    if (reach <= 0) return step;
    const std::optional<double> own = nearest(snaps, step.seconds, reach);
    double by = own ? *own - step.seconds : 0;
    step.snappedTo = own;
    if (drag.part.kind == Kind::zoom || drag.part.kind == Kind::cut) {
        const double end = step.seconds + drag.origin.length();
        const std::optional<double> other = nearest(snaps, end, reach);
        if (other && (!own || std::abs(*other - end) < std::abs(by))) {
            by = *other - end;
            step.snappedTo = other;
        }
    }
    step.seconds += by;
    return step;
}

}  // namespace lumivastor::editor
