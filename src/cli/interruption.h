// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>

#include <stop_token>
#include <thread>

namespace lumivastor::cli {

/// While it lives, SIGINT, SIGTERM and SIGHUP no longer end the program but ask its token to stop; a SIGHUP that the
/// program was started to ignore stays ignored. To be made before the job's own threads are, so that they leave the
/// signals to it.
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
