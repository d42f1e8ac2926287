// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

// Frames of a recording. Times are seconds. `fps` is the frame rate of the capture document; less than 1 counts as 1.

namespace lumivastor::editor {

/// The number of the frame shown at `t`. A time just before a frame counts as that frame: sums of frame lengths are
/// rounded, and a step would otherwise sometimes stay at the same frame.
std::int64_t frameNumber(double t, std::int64_t fps);

/// The start of the frame shown at `t`.
double snappedToFrame(double t, std::int64_t fps);

/// The start of the frame that begins nearest to `t`: for what is dragged, which follows the pointer on both sides.
double nearestFrame(double t, std::int64_t fps);

/// The duration of a frame.
double frameLength(std::int64_t fps);

}  // namespace lumivastor::editor
