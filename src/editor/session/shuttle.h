// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "base/main_loop.h"
#include "editor/session/transport.h"

namespace lumivastor::editor {

/// The rate after a press of the key that plays forward or backward: 1 in a new direction, then 2, 4 and 8. Negative is
/// backward, 0 is standing still.
int shuttleRate(int rate, bool forward);

/// Where the playhead is after it moved by `seconds` (back if negative) through `played`, the ranges that are played in
/// order. It jumps over what lies between them. nullopt at the end that it moves to.
std::optional<double> shuttled(double playhead, double seconds, std::span<const Interval> played);

/// Plays forward and backward at several speeds. At rate 1 the player plays, with sound. All other rates move the
/// playhead on a timer and show a still frame at each place, without sound; frames are left out when seeking takes
/// longer. Whatever else moves the playhead or plays ends it. Main thread.
class Shuttle {
  public:
    /// Seconds between two places.
    static constexpr double kInterval = 1.0 / 30;

    struct Options {
        /// Seconds of any clock that never runs backward.
        std::function<double()> clock;
        /// The ranges that are played now.
        std::function<std::vector<Interval>()> played;
        /// The rate has changed.
        std::function<void()> changed;
    };

    /// The transport and the loop outlive the shuttle.
    Shuttle(Transport& transport, MainLoop& loop, Options options);

    /// A press of a key. A press against the direction turns around at rate 1.
    void press(bool forward);
    /// Stands still, also when the player plays.
    void stop();
    /// 1 while the player plays; 0 when nothing moves.
    int rate() const;
    /// Whether the timer moves the playhead.
    bool isRunning() const { return timer_ != nullptr; }

  private:
    void run(int rate);
    void end();
    void tick();

    Transport& transport_;
    MainLoop& loop_;
    const Options options_;
    std::unique_ptr<MainLoop::Timer> timer_;
    int rate_ = 0;
    double last_ = 0;      // the place it moved to last
    double lastTick_ = 0;  // on the clock
};

}  // namespace lumivastor::editor
