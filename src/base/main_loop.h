// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace lumivastor {

/// The main thread's loop, as far as code below the windows needs it: work handed to it from other threads, and timers.
/// The application puts the window toolkit's loop behind it, the command line a `BlockingMainLoop`, tests one whose
/// clock they move by hand.
class MainLoop {
  public:
    /// Ends when it is destroyed, on the main thread; its work does not run afterwards.
    class Timer {
      public:
        virtual ~Timer() = default;
    };

    virtual ~MainLoop() = default;

    /// Runs `work` on the main thread, later, in the order of handing over. Any thread.
    virtual void async(std::function<void()> work) = 0;

    /// Runs `work` on the main thread every `seconds`, the first time one interval from now. A loop that comes late
    /// runs it once, not as often as it missed. Main thread.
    [[nodiscard]] virtual std::unique_ptr<Timer> every(double seconds, std::function<void()> work) = 0;
};

/// A main loop without a window toolkit: the thread that calls `run` is the main thread.
class BlockingMainLoop final : public MainLoop {
  public:
    BlockingMainLoop();
    ~BlockingMainLoop() override;

    void async(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, std::function<void()> work) override;

    /// Runs work and timers until `stop`. Once a loop was stopped it may be run again.
    void run();
    /// Makes `run` return after the work item at hand. Any thread.
    void stop();

  private:
    struct Schedule;
    class ScheduledTimer;

    std::mutex lock_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> waiting_;  // guarded by lock_
    bool stopping_ = false;                      // guarded by lock_
    std::shared_ptr<Schedule> schedule_;         // main thread only
};

}  // namespace lumivastor
