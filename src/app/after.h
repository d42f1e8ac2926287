#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/main_loop.h"

namespace lumivastor {

/// Runs `work` once, in `seconds`, unless the timer is destroyed before. Main thread.
[[nodiscard]] inline std::unique_ptr<MainLoop::Timer> after(MainLoop& loop, double seconds,
                                                            std::function<void()> work) {
    return loop.every(seconds, [work = std::move(work), done = false]() mutable {
        if (!std::exchange(done, true)) work();
    });
}

}  // namespace lumivastor
