// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/interruption.h"

#include <pthread.h>

#include <ctime>
#include <utility>

namespace lumivastor::cli {

namespace {

// Whether the program was started with this signal ignored, as by nohup, to outlive its terminal.
bool isIgnored(int signal) {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

}  // namespace

Interruption::Interruption(Toggle toggle) {
    sigset_t watched;
    sigemptyset(&watched);
    sigaddset(&watched, SIGINT);
    sigaddset(&watched, SIGTERM);
    if (!isIgnored(SIGHUP)) sigaddset(&watched, SIGHUP);
    if (toggle == Toggle::yes) sigaddset(&watched, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &watched, &before_);
    watcher_ = std::jthread([this, watched](const std::stop_token& ending) {
        // Wakes up regularly, because the job's end raises no signal.
        constexpr timespec kPause{0, 50'000'000};
        while (!ending.stop_requested()) {
            const int signal = sigtimedwait(&watched, nullptr, &kPause);
            if (signal == SIGUSR1) {
                const std::lock_guard hold(lock_);
                if (toggle_) toggle_();
            } else if (signal > 0) {
                source_.request_stop();
            }
        }
    });
}

void Interruption::onToggle(std::function<void()> handler) {
    const std::lock_guard hold(lock_);
    toggle_ = std::move(handler);
}

Interruption::~Interruption() {
    watcher_.request_stop();
    watcher_.join();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace lumivastor::cli
