// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <thread>
#include <utility>

namespace lumivastor {

/// How long tests wait for something that a working machine does soon, in seconds. Long, so that a busy machine passes,
/// too.
inline constexpr double kPatience = 60;

/// Waits until `done()` is true; false when that takes longer than `timeout` seconds. `turn` runs between two checks:
/// it sleeps for a moment, or runs an event loop for as long.
template <typename Done, typename Turn>
bool await(double timeout, Done done, Turn turn) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeout);
    while (!done()) {
        if (std::chrono::steady_clock::now() > until) return false;
        turn();
    }
    return true;
}

template <typename Done>
bool await(double timeout, Done done) {
    return await(timeout, std::move(done), [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
}

template <typename Done>
bool await(Done done) {
    return await(kPatience, std::move(done));
}

}  // namespace lumivastor
