// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/still_stretches.h"

#include <cstddef>

namespace lumivastor::render {

namespace {

constexpr double kLeastStretch = 0.5;
// With its length before it; the frame number and the count of macroblocks take a few bits more or less.
constexpr int kRepeatBytes = 40;
// A still screen's repeat comes with the first tick one second after the last picture.
constexpr double kRepeatAfter = 0.98;
constexpr double kRepeatBefore = 1.1;
// Of the last key picture's bytes. Measured was up to a third, right behind it.
constexpr double kSharpeningShare = 0.5;

bool isRepeat(const media::IndexedSample& sample, double distance, int keyBytes) {
    if (sample.bytes <= kRepeatBytes) return true;
    if (distance < kRepeatAfter || distance > kRepeatBefore) return false;
    return sample.isKey || sample.bytes < kSharpeningShare * keyBytes;
}

}  // namespace

std::vector<Interval> stillStretches(std::span<const media::IndexedSample> samples, double end) {
    std::vector<Interval> stretches;
    if (samples.empty()) return stretches;
    const auto add = [&stretches](double start, double until) {
        if (until - start >= kLeastStretch) stretches.push_back({start, until});
    };
    double changed = samples.front().decodeTime.seconds();
    double previous = changed;
    int keyBytes = samples.front().bytes;
    for (const media::IndexedSample& sample : samples.subspan(1)) {
        const double time = sample.decodeTime.seconds();
        if (!isRepeat(sample, time - previous, keyBytes)) {
            add(changed, time);
            changed = time;
        }
        previous = time;
        if (sample.isKey) keyBytes = sample.bytes;
    }
    add(changed, end);
    return stretches;
}

}  // namespace lumivastor::render
