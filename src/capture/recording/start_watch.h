// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "base/main_loop.h"

namespace lumivastor::capture {

/// Reports what a start is waiting for if that takes longer than a moment: a device or an encoder that is slow to open.
/// Main thread, unless a function says otherwise.
class StartWatch {
  public:
    /// A step is reported after this time, or up to twice as long; seconds.
    static constexpr double kLook = 0.5;

    explicit StartWatch(MainLoop& mainLoop) : mainLoop_(mainLoop) {}

    /// `handler` gets a German text about what is being done ("Öffne die Kamera …"). It may be changed at any time, and
    /// may destroy this object.
    void onSlowStep(std::function<void(const std::string&)> handler) { onSlowStep_ = std::move(handler); }

    void begin();
    void end() { timer_.reset(); }

    /// Sets what is being done from now on; empty for quick steps. Any thread.
    void step(std::string what);

  private:
    void look();

    MainLoop& mainLoop_;
    std::function<void(const std::string&)> onSlowStep_;
    std::unique_ptr<MainLoop::Timer> timer_;
    int seen_ = 0;  // the step at the last look
    int told_ = 0;
    std::mutex lock_;
    int number_ = 0;    // guarded by lock_; of the step
    std::string what_;  // guarded by lock_
};

}  // namespace lumivastor::capture
