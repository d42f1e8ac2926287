// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>

#include <stop_token>
#include <thread>

namespace lumivastor::cli {

/// While it lives, SIGINT, SIGTERM and SIGHUP request a stop of its token instead of ending the program. SIGHUP stays
/// ignored if the program was started that way. Construct it before the job's threads, so that they do not receive the
/// signals.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    std::stop_token token() const { return source_.get_token(); }

  private:
    sigset_t before_{};
    std::stop_source source_;
    std::jthread watcher_;
};

}  // namespace lumivastor::cli
