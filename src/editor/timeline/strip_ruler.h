// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "editor/timeline/visible_range.h"

namespace lumivastor::editor {

/// A tick of the strip's ruler; one without a label is a small one.
struct RulerTick {
    double x = 0;
    std::string label;

    bool operator==(const RulerTick&) const = default;
};

/// The ruler's ticks in the visible range, from the left. They lie on frames, with labels at least `labelDistance`
/// apart: "1:02:03", and "Bild 12" on frames between seconds.
std::vector<RulerTick> rulerTicks(const TimeScale& scale, double duration, std::int64_t fps, double labelDistance);

/// "1:02:03" of an hour or more, else "2:03". Seconds are cut off.
std::string clockTime(double seconds);

/// "2:03.25": hundredths of a second.
std::string exactTime(double seconds);

}  // namespace lumivastor::editor
