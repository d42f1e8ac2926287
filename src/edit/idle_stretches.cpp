// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/idle_stretches.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>

#include "base/geometry.h"

namespace lumivastor::edit {

namespace {

constexpr double kLeastCut = 0.1;
// Of a frame. Ends that lie on a frame but for rounding count as on it.
constexpr double kRounding = 0.001;

}  // namespace

std::vector<Interval> pointerPauses(std::span<const model::PointerSample> events, double duration, double radius) {
    std::vector<Interval> pauses;
    double since = 0;
    const auto pauseUntil = [&](double t) {
        const Interval pause = intersection(Interval{since, t}, Interval{0, duration});
        if (!pause.isEmpty()) pauses.push_back(pause);
        since = std::max(since, t);
    };
    std::optional<Point> place;
    for (const model::PointerSample& event : events) {
        const bool isMove = event.kind == model::PointerKind::move;
        // The first event says where the pointer was already.
        if (isMove && !place) place = Point{event.px, event.py};
        if (isMove && std::hypot(event.px - place->x, event.py - place->y) <= radius) continue;
        place = Point{event.px, event.py};
        pauseUntil(event.t);
    }
    pauseUntil(duration);
    return pauses;
}

std::vector<Interval> commonParts(std::span<const Interval> a, std::span<const Interval> b) {
    std::vector<Interval> common;
    for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
        const Interval both = intersection(a[i], b[j]);
        if (!both.isEmpty()) common.push_back(both);
        if (a[i].end < b[j].end) {
            ++i;
        } else {
            ++j;
        }
    }
    return common;
}

std::vector<IdleStretch> idleStretches(std::span<const Interval> idle, std::span<const Interval> kept, std::int64_t fps,
                                       const IdleRules& rules) {
    const auto frames = static_cast<double>(std::max<std::int64_t>(fps, 1));
    const double rest = std::max(rules.rest, 0.0);
    std::vector<IdleStretch> stretches;
    for (const Interval& each : commonParts(idle, kept)) {
        if (each.length() < rules.least) continue;
        const Interval cut{std::ceil((each.start + rest / 2) * frames - kRounding) / frames,
                           std::floor((each.end - rest / 2) * frames + kRounding) / frames};
        // Shorter by a frame at most: what this cut leaves must not be proposed again.
        if (cut.length() > kLeastCut && each.length() - cut.length() < rules.least) stretches.push_back({each, cut});
    }
    return stretches;
}

}  // namespace lumivastor::edit
