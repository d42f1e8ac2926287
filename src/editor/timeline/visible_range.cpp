// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/visible_range.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::editor {

namespace {

// With fewer frames across the strip a frame would be wider than a hand can aim at.
constexpr double kLeastFrames = 12;
// On each side of what is shown, as a part of its length.
constexpr double kRoom = 0.15;
// Where a time is put that was not visible, as a part of the range.
constexpr double kLead = 0.1;

Interval placed(double start, double length, const VisibleLimits& limits) {
    const double least = std::min(limits.least, limits.duration);
    const double fitting = std::clamp(length, least, std::max(limits.duration, least));
    const double first = std::clamp(start, 0.0, std::max(limits.duration - fitting, 0.0));
    return {first, first + fitting};
}

}  // namespace

VisibleLimits visibleLimits(double duration, std::int64_t fps) {
    const double length = std::isfinite(duration) ? std::max(duration, 0.0) : 0.0;
    return {length, std::min(kLeastFrames / static_cast<double>(std::max<std::int64_t>(fps, 1)), length)};
}

Interval wholeRange(const VisibleLimits& limits) {
    return {0, limits.duration};
}

bool isWhole(const Interval& visible, const VisibleLimits& limits) {
    return visible.length() >= limits.duration;
}

Interval zoomedRange(const Interval& visible, double factor, double around, const VisibleLimits& limits) {
    if (!(factor > 0) || !std::isfinite(factor)) return visible;
    const double fixed = std::clamp(around, visible.start, visible.end);
    const double length =
        std::clamp(visible.length() / factor, std::min(limits.least, limits.duration), limits.duration);
    // Everything, without the rounding of many small steps.
    if (length >= limits.duration) return wholeRange(limits);
    const double part = visible.isEmpty() ? 0.0 : (fixed - visible.start) / visible.length();
    return placed(fixed - part * length, length, limits);
}

Interval scrolledRange(const Interval& visible, double seconds, const VisibleLimits& limits) {
    return placed(visible.start + seconds, visible.length(), limits);
}

Interval rangeAround(const Interval& shown, const VisibleLimits& limits) {
    const double room = std::max(shown.length(), 0.0) * kRoom;
    const double length = std::max(shown.length() + 2 * room, limits.least);
    const double middle = (shown.start + shown.end) / 2;
    return placed(middle - length / 2, length, limits);
}

Interval rangeWith(const Interval& visible, double seconds, const VisibleLimits& limits) {
    if (visible.start <= seconds && seconds <= visible.end) return visible;
    return placed(seconds - kLead * visible.length(), visible.length(), limits);
}

TimeScale::TimeScale(const Interval& visible, double left, double right)
    : visible_(visible),
      left_(left),
      right_(std::max(right, left)),
      secondsPerUnit_(right_ > left_ ? std::max(visible.length(), 0.0) / (right_ - left_) : 0.0),
      unitsPerSecond_(visible.isEmpty() ? 0.0 : (right_ - left_) / visible.length()) {}

double TimeScale::at(double seconds) const {
    return left_ + (seconds - visible_.start) * unitsPerSecond_;
}

double TimeScale::secondsAt(double position) const {
    return visible_.start + (position - left_) * secondsPerUnit_;
}

}  // namespace lumivastor::editor
