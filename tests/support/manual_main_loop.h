// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "base/main_loop.h"

namespace lumivastor {

/// A main loop whose clock a test moves by hand; the clock serves as host clock, too. The test's thread is the main
/// thread.
class ManualMainLoop final : public MainLoop {
  public:
    explicit ManualMainLoop(double now = 1000);
    ~ManualMainLoop() override;

    void async(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, std::function<void()> work) override;

    /// Seconds. Any thread.
    double now() const;

    /// The number of running timers.
    std::size_t timers() const;

    /// Moves the clock forward, and runs due timers and posted work.
    void advance(double seconds);

    /// Runs posted work, and the work that this posts.
    void runPending();

    /// Runs posted work of other threads until `done` returns true, without moving the clock. False after a minute of
    /// real time.
    bool runUntil(const std::function<bool()>& done);

  private:
    struct Schedule;
    class ManualTimer;

    bool runNext();

    mutable std::mutex lock_;
    std::condition_variable wake_;
    double now_;                                 // guarded by lock_
    std::deque<std::function<void()>> waiting_;  // guarded by lock_
    std::shared_ptr<Schedule> schedule_;         // main thread only
};

}  // namespace lumivastor
