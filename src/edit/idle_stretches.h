// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/interval.h"
#include "edit/timeline.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"

// Stretches of a recording in which nothing happens, and the cuts that would shorten them. Times are source seconds.

namespace lumivastor::edit {

/// The stretches between activities of the pointer, from 0 to `duration`. Presses, releases, drags and scrolling are
/// activities, and so are moves, but not while the pointer stays within `radius` source pixels of the place that it was
/// brought to: a hand on the mouse moves it by a pixel now and then.
std::vector<Interval> pointerPauses(std::span<const model::PointerSample> events, double duration, double radius = 3);

/// What the stretches of both lists have in common. Both are in the order of time and do not overlap in themselves; so
/// does the result.
std::vector<Interval> commonParts(std::span<const Interval> a, std::span<const Interval> b);

struct IdleRules {
    /// Shorter stretches stay as they are, in seconds.
    double least = 3;
    /// What is left of each, half of it at either end: speech and movement before and behind keep their breath.
    double rest = 0.7;

    bool operator==(const IdleRules&) const = default;
};

/// A stretch without activity that the video shows, and the part of it to cut.
struct IdleStretch {
    Interval idle;
    Interval cut;

    bool operator==(const IdleStretch&) const = default;
};

/// The cuts that shorten idle stretches to their rest.
///
///     idle     ....|=====================|......|====|........
///     kept     ....======================]-cut-[==============
///     after    ....==]----------------[==]-cut-[==============
///
/// Of an idle stretch counts what the trim and the cuts in force leave, each piece for itself. Cuts begin and end with
/// frames of the recording, inside of the stretch, and are longer than a tenth of a second. What these cuts leave is
/// not proposed again.
std::vector<IdleStretch> idleStretches(std::span<const Interval> idle, std::span<const Interval> kept, std::int64_t fps,
                                       const IdleRules& rules);

}  // namespace lumivastor::edit
