// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <thread>
#include <utility>

namespace lumivastor {

/// Waits until the condition is true; returns false after `timeout` seconds.
template <typename Done>
bool await(double timeout, Done done) {
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
