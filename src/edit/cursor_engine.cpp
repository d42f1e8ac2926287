// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/cursor_engine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>

#include "base/precondition.h"
#include "base/saturated.h"

namespace lumivastor::edit {

namespace {

constexpr double kStep = 1 / CursorEngine::kRate;
// A smoothing of 1 is a time constant of this many seconds.
constexpr double kTimeConstant = 0.16;
constexpr double kMinimumSmoothing = 0.01;
// Reach of the correction around a press, in grid points on each side: 0.35 s.
constexpr std::ptrdiff_t kReach = 42;
// A press this close to the path, in pixels, needs no correction.
constexpr double kCloseEnough = 0.01;

// Raised cosine: 1 at the press, 0 at the ends of its reach.
std::array<double, 2 * kReach + 1> makeCorrectionWindow() {
    std::array<double, 2 * kReach + 1> window{};
    for (std::ptrdiff_t j = -kReach; j <= kReach; ++j) {
        window[static_cast<std::size_t>(j + kReach)] =
            (std::cos(std::numbers::pi * static_cast<double>(j) / static_cast<double>(kReach)) + 1) / 2;
    }
    return window;
}

std::int64_t gridIndex(double t) {
    const double index = t * CursorEngine::kRate;
    precondition(std::abs(index) < 9.2e18, "a time fits the grid's integers");
    return saturated<std::int64_t>(index);
}

}  // namespace

CursorEngine::CursorEngine(std::span<const model::PointerSample> events, double duration, double smoothing)
    : smoothing_(smoothing) {
    precondition(duration <= kMaxDuration, "a recording is no longer than its path may be");
    resample(events, duration);
    if (times_.empty()) return;
    if (smoothing > kMinimumSmoothing) {
        const double alpha = kStep / (smoothing * kTimeConstant + kStep);
        smoothPass(xs_, ys_, alpha);
    }
    for (const model::PointerSample& event : events) {
        if (event.kind == model::PointerKind::down) pullBackTo(event);
    }
}

void CursorEngine::resample(std::span<const model::PointerSample> events, double duration) {
    // Scrolls carry no position worth following.
    const auto nextUseful = [&events](std::size_t i) {
        while (i < events.size() && events[i].kind == model::PointerKind::scroll) ++i;
        return i;
    };
    std::size_t current = nextUseful(0);
    if (current == events.size() || !(duration > 0)) return;
    std::size_t next = nextUseful(current + 1);

    const auto count = static_cast<std::size_t>(gridIndex(duration)) + 1;
    times_.resize(count);
    xs_.resize(count);
    ys_.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) * kStep;
        while (next < events.size() && events[next].t <= t) {
            current = next;
            next = nextUseful(next + 1);
        }
        const model::PointerSample& from = events[current];
        const model::PointerSample& to = next < events.size() ? events[next] : from;
        double fraction = 0;
        if (const double length = to.t - from.t; length > 0 && t >= from.t) {
            fraction = std::min((t - from.t) / length, 1.0);
        }
        times_[i] = t;
        xs_[i] = from.px + (to.px - from.px) * fraction;
        ys_[i] = from.py + (to.py - from.py) * fraction;
    }
}

// Both axes in one go: each value waits for the one before, so two chains side by side take the time of one.
void CursorEngine::smoothPass(std::span<double> xs, std::span<double> ys, double alpha) {
    const std::size_t count = xs.size();
    if (count < 2) return;
    Point v{xs[0], ys[0]};
    const auto step = [&](std::size_t i) {
        v.x += alpha * (xs[i] - v.x);
        v.y += alpha * (ys[i] - v.y);
        xs[i] = v.x;
        ys[i] = v.y;
    };
    for (std::size_t i = 1; i < count; ++i) step(i);
    v = {xs[count - 1], ys[count - 1]};
    for (std::size_t i = count - 1; i-- > 0;) step(i);
}

void CursorEngine::pullBackTo(const model::PointerSample& press) {
    static const auto window = makeCorrectionWindow();
    const auto count = static_cast<std::ptrdiff_t>(xs_.size());
    const std::ptrdiff_t k = std::clamp<std::int64_t>(gridIndex(press.t), 0, count - 1);
    const double dx = press.px - xs_[static_cast<std::size_t>(k)];
    const double dy = press.py - ys_[static_cast<std::size_t>(k)];
    if (std::abs(dx) <= kCloseEnough && std::abs(dy) <= kCloseEnough) return;
    for (std::ptrdiff_t i = std::max<std::ptrdiff_t>(k - kReach, 0); i <= std::min(k + kReach, count - 1); ++i) {
        const double weight = window[static_cast<std::size_t>(i - k + kReach)];
        xs_[static_cast<std::size_t>(i)] += dx * weight;
        ys_[static_cast<std::size_t>(i)] += dy * weight;
    }
}

std::optional<Point> CursorEngine::position(double t) const {
    if (times_.size() < 2) return std::nullopt;
    const double index = t * kRate;
    // Limited before it becomes an integer, so that any time may be asked for.
    const double last = static_cast<double>(times_.size() - 2);
    const double whole = std::clamp(std::trunc(index), 0.0, last);
    const auto i = static_cast<std::size_t>(whole);
    const double u = std::clamp(index - whole, 0.0, 1.0);
    return Point{xs_[i] + u * (xs_[i + 1] - xs_[i]), ys_[i] + u * (ys_[i + 1] - ys_[i])};
}

}  // namespace lumivastor::edit
