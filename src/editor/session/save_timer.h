// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "base/main_loop.h"

namespace lumivastor::editor {

/// Delays saving until no edit came for a while: a burst of edits is saved once, after its last edit.
/// Main thread.
class SaveTimer {
  public:
    /// Seconds from the last edit to saving.
    static constexpr double kDelay = 0.8;

    /// The loop outlives the timer.
    SaveTimer(MainLoop& loop, std::function<void()> save);

    /// Saves after `kDelay`. Restarts a delay that is running.
    void schedule();
    /// Stops a running delay without saving.
    void cancel();
    bool isPending() const { return timer_ != nullptr; }

  private:
    MainLoop& loop_;
    const std::function<void()> save_;
    std::unique_ptr<MainLoop::Timer> timer_;
};

}  // namespace lumivastor::editor
