// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/jump_places.h"

#include <algorithm>

#include "editor/session/frame_time.h"

namespace lumivastor::editor {

namespace {

// Calls `visit` with the time of each place, in no order.
template <typename Visit>
void forEachPlace(const edit::EditState& state, const Visit& visit) {
    visit(state.trim.start);
    visit(state.trim.end);
    for (const model::CutRange& cut : state.settings.cuts) {
        visit(cut.start);
        visit(cut.end);
    }
    for (const model::ZoomSpec& zoom : state.zoomSpecs) {
        visit(zoom.start);
        visit(zoom.end);
    }
    for (const model::PointerSample& click : state.clicks) visit(click.t);
    for (const double mark : state.marks) visit(mark);
}

std::int64_t lastFrame(double end, std::int64_t fps) {
    // The frame that begins at the end is not part of the range.
    const std::int64_t frame = frameNumber(end, fps);
    return std::max<std::int64_t>(snappedToFrame(end, fps) < end - frameLength(fps) / 1000 ? frame : frame - 1, 0);
}

double timeOf(std::int64_t frame, std::int64_t fps) {
    return static_cast<double>(frame) * frameLength(fps);
}

}  // namespace

std::optional<double> nextPlace(const edit::EditState& state, double t, std::int64_t fps) {
    const std::int64_t now = frameNumber(t, fps);
    std::optional<std::int64_t> next;
    forEachPlace(state, [&](double place) {
        const std::int64_t frame = frameNumber(place, fps);
        if (frame > now && (!next || frame < *next)) next = frame;
    });
    if (!next) return std::nullopt;
    return timeOf(*next, fps);
}

std::optional<double> previousPlace(const edit::EditState& state, double t, std::int64_t fps) {
    const std::int64_t now = frameNumber(t, fps);
    std::optional<std::int64_t> previous;
    forEachPlace(state, [&](double place) {
        const std::int64_t frame = frameNumber(place, fps);
        if (frame < now && (!previous || frame > *previous)) previous = frame;
    });
    if (!previous) return std::nullopt;
    return timeOf(*previous, fps);
}

double startPlace(const edit::EditState& state, double t, std::int64_t fps) {
    const std::int64_t first = frameNumber(state.trim.start, fps);
    return frameNumber(t, fps) > first ? timeOf(first, fps) : 0;
}

double endPlace(const edit::EditState& state, double t, double duration, std::int64_t fps) {
    const std::int64_t last = lastFrame(state.trim.end, fps);
    return timeOf(frameNumber(t, fps) < last ? last : lastFrame(duration, fps), fps);
}

}  // namespace lumivastor::editor
