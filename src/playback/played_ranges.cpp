// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/played_ranges.h"

#include <algorithm>
#include <cmath>

#include "base/precondition.h"

namespace lumivastor::playback {

namespace {

// Far below any frame's length, far above the rounding of doubles: a moment this close before a frame belongs to it.
constexpr double kSliver = 1e-6;
// Sound has its own frames: the moment heard at the end of a range, or at its start, is off by up to half a sound
// frame.
constexpr double kSoundFrame = 1.0 / 48000;
// Beyond every recording, and still exact as a time of a movie.
constexpr double kForever = 1e9;

}  // namespace

PlayedRanges::PlayedRanges(std::vector<Interval> ranges, double duration, double framesPerSecond)
    : framesPerSecond_(framesPerSecond) {
    precondition(framesPerSecond > 0, "frames have a length");
    std::sort(ranges.begin(), ranges.end(), [](const Interval& a, const Interval& b) { return a.start < b.start; });
    for (Interval range : ranges) {
        range.start = std::max(range.start, 0.0);
        range.end = std::min(range.end, duration);
        if (!(range.start + kSliver < range.end)) continue;
        if (!ranges_.empty() && range.start <= ranges_.back().end + kSliver) {
            ranges_.back().end = std::max(ranges_.back().end, range.end);
        } else {
            ranges_.push_back(range);
        }
    }
}

// The last range that begins at or before a moment, if the moment lies in it.
const Interval* PlayedRanges::rangeAt(double seconds) const {
    const auto after = std::upper_bound(ranges_.begin(), ranges_.end(), seconds + kSliver,
                                        [](double value, const Interval& range) { return value < range.start; });
    if (after == ranges_.begin()) return nullptr;
    const Interval& range = *std::prev(after);
    return seconds + kSliver < range.end ? &range : nullptr;
}

std::optional<double> PlayedRanges::playableFrom(double seconds) const {
    if (rangeAt(seconds) != nullptr) return seconds;
    for (const Interval& range : ranges_) {
        if (range.start >= seconds) return range.start;
    }
    return std::nullopt;
}

double PlayedRanges::runsUntil(double seconds) const {
    const Interval* const range = rangeAt(seconds);
    return range == nullptr ? seconds : range->end;
}

double PlayedRanges::runsSince(double seconds) const {
    const Interval* const range = rangeAt(seconds);
    return range == nullptr ? seconds : range->start;
}

Interval PlayedRanges::stretchAt(double seconds) const {
    if (const Interval* const range = rangeAt(seconds)) return *range;
    Interval gap{-kForever, kForever};
    for (const Interval& range : ranges_) {
        if (range.start > seconds) {
            gap.end = range.start;
            break;
        }
        gap.start = range.end;
    }
    return gap;
}

bool PlayedRanges::isJumpedTo(double seconds) const {
    const Interval* const range = rangeAt(seconds);
    return range != nullptr && range != &ranges_.front();
}

bool PlayedRanges::isJumpedFrom(double seconds) const {
    const Interval* const range = rangeAt(seconds);
    return range != nullptr && range != &ranges_.back();
}

std::vector<Interval> PlayedRanges::ahead(double seconds, double length) const {
    std::vector<Interval> stretches;
    std::optional<double> from = playableFrom(seconds);
    while (from && length > kSliver) {
        const double end = std::min(runsUntil(*from), *from + length);
        stretches.push_back({*from, end});
        length -= end - *from;
        from = playableFrom(end);
    }
    return stretches;
}

double PlayedRanges::frameAt(double seconds) const {
    const double onGrid = std::floor((seconds + kSliver) * framesPerSecond_) / framesPerSecond_;
    const Interval* const range = rangeAt(seconds);
    return range == nullptr ? onGrid : std::max(onGrid, range->start);
}

std::optional<double> PlayedRanges::frameAfter(double frame) const {
    const double next = (std::floor((frame + kSliver) * framesPerSecond_) + 1) / framesPerSecond_;
    const Interval* const range = rangeAt(frame);
    if (range == nullptr) return playableFrom(frame);
    return next + kSliver < range->end ? next : playableFrom(range->end);
}

double PlayedRanges::standingFrame(double seconds) const {
    if (rangeAt(seconds) != nullptr) return frameAt(seconds);
    for (const Interval& range : ranges_) {
        if (std::abs(seconds - range.start) < kSoundFrame) return frameAt(range.start);
        if (std::abs(seconds - range.end) < kSoundFrame) return frameAt(range.end - 2 * kSliver);
    }
    return frameAt(seconds);
}

}  // namespace lumivastor::playback
