// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/main_loop.h"

namespace lumivastor {

/// Runs `work` once, `seconds` from now, unless the returned timer is destroyed before. When `work` runs, the loop's
/// own timer has ended already. `work` may destroy the returned timer. Main thread.
[[nodiscard]] inline std::unique_ptr<MainLoop::Timer> after(MainLoop& loop, double seconds,
                                                            std::function<void()> work) {
    class Once final : public MainLoop::Timer {
      public:
        Once(MainLoop& loop, double seconds, std::function<void()> work)
            : timer_(loop.every(seconds, [this, work = std::move(work)] {
                  // First, because the work may run the loop itself.
                  timer_.reset();
                  work();
              })) {}

      private:
        std::unique_ptr<MainLoop::Timer> timer_;
    };
    return std::make_unique<Once>(loop, seconds, std::move(work));
}

}  // namespace lumivastor
