// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <new>
#include <stop_token>
#include <thread>
#include <utility>

#include "base/handled_error.h"

namespace lumivastor::render {

/// Runs `work` on a new thread and passes its outcome to `completion`: the result, or a `RecorderError` for anything
/// that was thrown (`failed` as for `handledError`). `completion` runs through `postToMain`, or on the new thread
/// without it. `Outcome` is a std::variant of the result and RecorderError. Throws `RecorderError` when no thread can
/// be started; `completion` is not called then.
template <typename Outcome>
[[nodiscard]] std::jthread runInBackground(const char* failed, std::function<Outcome(const std::stop_token&)> work,
                                           std::function<void(const Outcome&)> completion,
                                           std::function<void(std::function<void()>)> postToMain) {
    struct Delivery {
        std::function<void(const Outcome&)> completion;
        Outcome outcome;
        void operator()() const { completion(outcome); }
    };
    try {
        auto delivery = std::make_shared<Delivery>();
        delivery->completion = std::move(completion);
        return std::jthread([failed, delivery, work = std::move(work),
                             postToMain = std::move(postToMain)](const std::stop_token& stop) {
            try {
                delivery->outcome = work(stop);
            } catch (...) {
                delivery->outcome = handledError(failed);
            }
            if (!postToMain) return (*delivery)();
            // The owner waits for the completion. The work has freed its memory, so an attempt will succeed soon.
            for (;;) {
                try {
                    return postToMain([delivery] { (*delivery)(); });
                } catch (const std::bad_alloc&) {
                    if (stop.stop_requested()) return;
                    constexpr std::chrono::milliseconds kPause{10};
                    std::this_thread::sleep_for(kPause);
                }
            }
        });
    } catch (...) {
        throw handledError(failed);
    }
}

}  // namespace lumivastor::render
