// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>

#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace lumivastor::cli {

/// While it lives, SIGINT, SIGTERM and SIGHUP request a stop of its token instead of ending the program. SIGHUP stays
/// ignored if the program was started that way. Construct it before the job's threads, so that they do not receive the
/// signals.
class Interruption {
  public:
    /// Whether SIGUSR1 goes to `onToggle` instead of ending the program.
    enum class Toggle { no, yes };
    explicit Interruption(Toggle toggle = Toggle::no);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    std::stop_token token() const { return source_.get_token(); }

    /// Calls `handler` at each SIGUSR1, on the interruption's own thread; null: ignores them, as until the first call.
    /// The old handler does not run any more when this returns. Any other thread.
    void onToggle(std::function<void()> handler);

  private:
    sigset_t before_{};
    std::stop_source source_;
    std::mutex lock_;
    std::function<void()> toggle_;  // guarded by lock_, also while it runs
    std::jthread watcher_;
};

}  // namespace lumivastor::cli
