// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "base/geometry.h"
#include "model/pointer_track.h"

namespace lumivastor::edit {

/// The smooth path of the drawn cursor: the recorded events on a fixed grid, low-passed forward and backward (so it
/// neither trails nor leads), then pulled back onto the exact spot of every press. Immutable; queries may come from
/// any thread, cost the same for every time and allocate nothing.
class CursorEngine {
  public:
    /// Grid points per second.
    static constexpr double kRate = 120;
    /// The longest recording, in seconds, that a path is built for. A day: its path takes 250 MB, and a damaged
    /// document that claims more must not take all memory.
    static constexpr double kMaxDuration = 24 * 60 * 60;

    /// No path.
    CursorEngine() = default;

    /// `events` in time order; `duration` in seconds, at most `kMaxDuration`; `smoothing` from 0 (none) to 1. No path
    /// when the duration is not positive or there are no events except scrolls. Times of presses must fit the grid's
    /// integers (preconditions, both: files are checked before).
    CursorEngine(std::span<const model::PointerSample> events, double duration, double smoothing);

    double smoothing() const { return smoothing_; }
    /// Source seconds of the grid points, and the path there in source pixels, origin top-left. Same length, or all
    /// empty.
    const std::vector<double>& times() const { return times_; }
    const std::vector<double>& xs() const { return xs_; }
    const std::vector<double>& ys() const { return ys_; }

    /// Source pixels, origin top-left, at a source time in seconds; before the beginning and after the end the path's
    /// first and last point. nullopt when there is no path.
    std::optional<Point> position(double t) const;

    bool operator==(const CursorEngine&) const = default;

  private:
    static void smoothPass(std::span<double> xs, std::span<double> ys, double alpha);

    void resample(std::span<const model::PointerSample> events, double duration);
    void pullBackTo(const model::PointerSample& press);

    double smoothing_ = 0;
    std::vector<double> times_;
    std::vector<double> xs_;
    std::vector<double> ys_;
};

}  // namespace lumivastor::edit
