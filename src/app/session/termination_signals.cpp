// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/session/termination_signals.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace lumivastor::app {

namespace {

// SIGHUP stays ignored if the program was started that way, as by nohup.
bool isIgnored(int signal) {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

sigset_t handled() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM}) sigaddset(&set, signal);
    if (!isIgnored(SIGHUP)) sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

TerminationSignals::TerminationSignals() {
    const sigset_t set = handled();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    signals_ = UniqueDescriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

TerminationSignals::~TerminationSignals() = default;

void TerminationSignals::listen(std::function<void()> handler) {
    if (!signals_.isOpen()) return;
    notifier_ = std::make_unique<QSocketNotifier>(signals_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this, handler = std::move(handler)] {
                         signalfd_siginfo info{};
                         while (::read(signals_.get(), &info, sizeof info) == sizeof info) handler();
                     });
}

}  // namespace lumivastor::app
