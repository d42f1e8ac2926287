// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <thread>

namespace lumivastor {

/// Waits until the condition is true; returns false after `timeout` seconds.
template <typename Done>
bool await(double timeout, Done done) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeout);
    while (!done()) {
        if (std::chrono::steady_clock::now() > until) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace lumivastor
