// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/interruption.h"

#include <pthread.h>

#include <ctime>

namespace lumivastor::cli {

namespace {

// Whether the program was started with this signal ignored, as by nohup, to outlive its terminal.
bool isIgnored(int signal) {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

}  // namespace

Interruption::Interruption() {
    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGINT);
    sigaddset(&watched, SIGTERM);
    if (!isIgnored(SIGHUP)) sigaddset(&watched, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &watched, &before_);
    watcher_ = std::jthread([this, watched](const std::stop_token& ending) {
        // Wakes up regularly, because the job's end raises no signal.
        constexpr timespec kPause{0, 50'000'000};
        while (!ending.stop_requested()) {
            if (sigtimedwait(&watched, nullptr, &kPause) > 0) source_.request_stop();
        }
    });
}

Interruption::~Interruption() {
    watcher_.request_stop();
    watcher_.join();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace lumivastor::cli
