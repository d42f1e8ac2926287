// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/zoom_edits.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <vector>

#include "base/interval.h"

namespace lumivastor::editor {

namespace {

// Changes the zoom that has this index among those in force.
using Change = std::function<void(model::ZoomSpec& zoom, const SpanRoom& room)>;

model::ProjectSettings changed(const model::ProjectSettings& settings, int index, double duration,
                               const Change& change) {
    model::ProjectSettings next = settings;
    if (!next.zooms || index < 0 || index >= static_cast<int>(next.zooms->size())) return next;
    std::vector<model::ZoomSpec>& list = *next.zooms;
    std::vector<std::size_t> order(list.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&list](std::size_t a, std::size_t b) { return list[a].start < list[b].start; });
    std::vector<Interval> spans;
    spans.reserve(order.size());
    for (const std::size_t place : order) spans.push_back({list[place].start, list[place].end});

    const auto at = static_cast<std::size_t>(index);
    const std::span<const Interval> all = spans;
    change(list[order[at]], roomFor(spans[at], all.first(at), all.subspan(at + 1), duration));
    return next;
}

void moveKeys(std::vector<model::FocusKey>& keys, double seconds) {
    for (model::FocusKey& key : keys) key.t += seconds;
}

}  // namespace

model::ProjectSettings withMovedZoom(const model::ProjectSettings& settings, int index, double start,
                                     const RecordingLength& length) {
    return changed(settings, index, length.duration, [&](model::ZoomSpec& zoom, const SpanRoom& room) {
        const Interval span = movedSpan({zoom.start, zoom.end}, start, room, length.fps);
        moveKeys(zoom.focus, span.start - zoom.start);
        zoom.start = span.start;
        zoom.end = span.end;
    });
}

model::ProjectSettings withZoomStart(const model::ProjectSettings& settings, int index, double start,
                                     const RecordingLength& length) {
    return changed(settings, index, length.duration, [&](model::ZoomSpec& zoom, const SpanRoom& room) {
        const Interval span = spanWithStart({zoom.start, zoom.end}, start, room, kLeastZoom, length.fps);
        std::vector<model::FocusKey>& keys = zoom.focus;
        std::stable_sort(keys.begin(), keys.end(),
                         [](const model::FocusKey& a, const model::FocusKey& b) { return a.t < b.t; });
        if (!keys.empty()) {
            const double arrival = keys.front().t + (span.start - zoom.start);
            // The last of those that the camera has passed when it arrives is where it arrives.
            const auto later = std::find_if(keys.begin() + 1, keys.end(),
                                            [arrival](const model::FocusKey& key) { return key.t > arrival; });
            keys.erase(keys.begin(), later - 1);
            keys.front().t = arrival;
        }
        zoom.start = span.start;
    });
}

model::ProjectSettings withZoomEnd(const model::ProjectSettings& settings, int index, double end,
                                   const RecordingLength& length) {
    return changed(settings, index, length.duration, [&](model::ZoomSpec& zoom, const SpanRoom& room) {
        zoom.end = spanWithEnd({zoom.start, zoom.end}, end, room, kLeastZoom, length.fps).end;
    });
}

}  // namespace lumivastor::editor
