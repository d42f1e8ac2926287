// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/shuttle.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace lumivastor::editor {

namespace {

constexpr int kFastest = 8;
// A main loop that was held up does not make the playhead leap, in seconds.
constexpr double kLongestTick = 0.2;

}  // namespace

int shuttleRate(int rate, bool forward) {
    const int direction = forward ? 1 : -1;
    return rate * direction <= 0 ? direction : direction * std::min(std::abs(rate) * 2, kFastest);
}

std::optional<double> shuttled(double playhead, double seconds, std::span<const Interval> played) {
    if (played.empty()) return std::nullopt;
    double left = std::abs(seconds);
    double at = playhead;
    if (seconds >= 0) {
        for (const Interval& range : played) {
            if (at >= range.end) continue;
            at = std::max(at, range.start);
            if (left < range.end - at) return at + left;
            left -= range.end - at;
            at = range.end;
        }
        return playhead < at ? std::optional(at) : std::nullopt;
    }
    for (auto range = played.rbegin(); range != played.rend(); ++range) {
        if (at <= range->start) continue;
        at = std::min(at, range->end);
        if (left < at - range->start) return at - left;
        left -= at - range->start;
        at = range->start;
    }
    return playhead > at ? std::optional(at) : std::nullopt;
}

Shuttle::Shuttle(Transport& transport, MainLoop& loop, Options options)
    : transport_(transport), loop_(loop), options_(std::move(options)) {}

int Shuttle::rate() const {
    return isRunning() ? rate_ : transport_.isPlaying() ? 1 : 0;
}

void Shuttle::press(bool forward) {
    run(shuttleRate(rate(), forward));
}

void Shuttle::run(int rate) {
    if (rate == 1) {
        end();
        if (!transport_.isPlaying()) transport_.toggle();
    } else {
        transport_.pause();
        rate_ = rate;
        last_ = transport_.playhead();
        lastTick_ = options_.clock();
        if (!timer_) timer_ = loop_.every(kInterval, [this] { tick(); });
    }
    options_.changed();
}

void Shuttle::stop() {
    end();
    transport_.pause();
    options_.changed();
}

void Shuttle::end() {
    timer_.reset();
    rate_ = 0;
}

void Shuttle::tick() {
    const double now = options_.clock();
    const double passed = std::min(now - std::exchange(lastTick_, now), kLongestTick);
    std::optional<double> next;
    if (!transport_.isPlaying() && transport_.playhead() == last_) {
        const std::vector<Interval> played = options_.played();
        next = shuttled(last_, passed * rate_, played);
    }
    if (!next) {
        // The timer is destroyed in its own call only after this function.
        const auto timer = std::exchange(timer_, nullptr);
        rate_ = 0;
        options_.changed();
        return;
    }
    last_ = *next;
    transport_.scrub(*next);
    // The transport limits places to the recording.
    last_ = transport_.playhead();
}

}  // namespace lumivastor::editor
