// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "base/main_loop.h"

namespace lumivastor::editor {

/// Puts off a job until things have been quiet for a while: a burst of edits is saved once, after the last of them.
/// Main thread.
class SaveTimer {
  public:
    /// Seconds without another edit after which is saved.
    static constexpr double kDelay = 0.8;

    /// The loop outlives the timer.
    SaveTimer(MainLoop& loop, std::function<void()> save);

    /// Restarts the delay.
    void schedule();
    /// Whatever was going to be saved is not.
    void cancel();
    bool isPending() const { return timer_ != nullptr; }

  private:
    MainLoop& loop_;
    const std::function<void()> save_;
    std::unique_ptr<MainLoop::Timer> timer_;
};

}  // namespace lumivastor::editor
