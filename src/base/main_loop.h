// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace lumivastor {

/// The main thread's loop, as far as code below the windows needs it: work posted from other threads, and timers. The
/// application implements it on the window toolkit's loop, the command line uses `BlockingMainLoop`, tests use one
/// whose clock they move by hand.
class MainLoop {
  public:
    /// Destroy it on the main thread to end it; its work does not run afterwards.
    class Timer {
      public:
        virtual ~Timer() = default;
    };

    virtual ~MainLoop() = default;

    /// Posts `work` to the main thread and returns at once. Work runs in the order of the calls. Any thread.
    virtual void async(std::function<void()> work) = 0;

    /// Runs `work` on the main thread every `seconds`, the first time one interval from now. A loop that is late runs
    /// it once, not once for each missed interval. Main thread.
    [[nodiscard]] virtual std::unique_ptr<Timer> every(double seconds, std::function<void()> work) = 0;
};

/// A main loop without a window toolkit: the thread that calls `run` is the main thread.
class BlockingMainLoop final : public MainLoop {
  public:
    BlockingMainLoop();
    ~BlockingMainLoop() override;

    void async(std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, std::function<void()> work) override;

    /// Runs work and timers until `stop`. May be called again after it has returned.
    void run();
    /// Makes `run` return after the current work item. Any thread.
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
