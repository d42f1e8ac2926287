#include "app/termination_signals.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace lumivastor {

namespace {

sigset_t handled() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
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

}  // namespace lumivastor
