// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/frame_time.h"

#include <algorithm>

#include "base/saturated.h"

namespace lumivastor::editor {

namespace {

// Of a frame. A three-hour recording's times are exact to a few billionths of one.
constexpr double kHair = 1e-5;

double rate(std::int64_t fps) {
    return static_cast<double>(std::max<std::int64_t>(fps, 1));
}

}  // namespace

std::int64_t frameNumber(double t, std::int64_t fps) {
    return saturated<std::int64_t>(t * rate(fps) + kHair);
}

double snappedToFrame(double t, std::int64_t fps) {
    return static_cast<double>(frameNumber(t, fps)) / rate(fps);
}

double nearestFrame(double t, std::int64_t fps) {
    return static_cast<double>(saturatedRound<std::int64_t>(t * rate(fps))) / rate(fps);
}

double frameLength(std::int64_t fps) {
    return 1 / rate(fps);
}

}  // namespace lumivastor::editor
