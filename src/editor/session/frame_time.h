// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

// Frames of a recording. All times in seconds; the frame rate is the capture document's, at least 1 wherever it counts.

namespace lumivastor::editor {

/// The number of the frame that is on at `t`. A hair before a frame counts as that frame: sums of frame lengths are
/// rounded, and without it stepping would now and then stay where it is.
std::int64_t frameNumber(double t, std::int64_t fps);

/// The beginning of the frame that is on at `t`.
double snappedToFrame(double t, std::int64_t fps);

/// How long a frame is on.
double frameLength(std::int64_t fps);

}  // namespace lumivastor::editor
