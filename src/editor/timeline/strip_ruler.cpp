// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_ruler.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "base/formatted.h"
#include "base/saturated.h"

namespace lumivastor::editor {

namespace {

// Closer ticks are a grey area.
constexpr double kTickDistance = 6;
// Of a frame.
constexpr double kHair = 1e-5;

// The distances of ticks, in seconds.
constexpr std::array kSteps = {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 18000, 36000, 86400};

// The distances of ticks, in frames: what divides a second, then whole seconds.
std::vector<std::int64_t> distances(std::int64_t fps) {
    std::vector<std::int64_t> all;
    for (std::int64_t frames = 1; frames < fps; ++frames) {
        if (fps % frames == 0) all.push_back(frames);
    }
    for (const int seconds : kSteps) all.push_back(seconds * fps);
    return all;
}

// "1:02:03" of whole seconds.
std::string clockText(long long seconds) {
    if (seconds < 3600) return formatted("%lld:%02lld", seconds / 60, seconds % 60);
    return formatted("%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string label(std::int64_t frame, std::int64_t fps) {
    if (frame % fps == 0) return clockText(frame / fps);
    return "Bild " + std::to_string(frame);
}

}  // namespace

std::vector<RulerTick> rulerTicks(const TimeScale& scale, double duration, std::int64_t fps, double labelDistance) {
    std::vector<RulerTick> ticks;
    if (scale.visible().isEmpty() || scale.right() <= scale.left()) return ticks;
    const std::int64_t rate = std::max<std::int64_t>(fps, 1);
    const double unitsPerFrame = (scale.right() - scale.left()) / scale.visible().length() / static_cast<double>(rate);
    const std::vector<std::int64_t> all = distances(rate);
    const auto isWide = [unitsPerFrame](double least) {
        return [unitsPerFrame, least](std::int64_t frames) {
            return static_cast<double>(frames) * unitsPerFrame >= least;
        };
    };
    const auto found = std::find_if(all.begin(), all.end(), isWide(labelDistance));
    const std::int64_t major = found == all.end() ? all.back() : *found;
    const auto isMinor = [&](std::int64_t frames) { return major % frames == 0 && isWide(kTickDistance)(frames); };
    const std::int64_t minor =
        *std::find_if(all.begin(), all.end(), [&](std::int64_t frames) { return frames == major || isMinor(frames); });

    const double end = std::min(scale.visible().end, duration);
    const auto first = saturated<std::int64_t>(std::ceil(scale.visible().start * static_cast<double>(rate) - kHair));
    for (std::int64_t frame = (first + minor - 1) / minor * minor;; frame += minor) {
        const double seconds = static_cast<double>(frame) / static_cast<double>(rate);
        if (seconds > end + kHair) break;
        ticks.push_back({scale.at(seconds), frame % major == 0 ? label(frame, rate) : std::string()});
    }
    return ticks;
}

std::string clockTime(double seconds) {
    return clockText(std::max(saturated<long long>(seconds), 0LL));
}

std::string exactTime(double seconds) {
    const auto hundredths = std::max(saturatedRound<long long>(seconds * 100), 0LL);
    return clockText(hundredths / 100) + formatted(".%02lld", hundredths % 100);
}

}  // namespace lumivastor::editor
