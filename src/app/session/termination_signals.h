// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

#include "base/unique_descriptor.h"

namespace lumivastor::app {

/// Turns SIGINT, SIGTERM and SIGHUP into calls on the main thread. Construct it before any other thread exists, so that
/// no other thread receives the signals.
class TerminationSignals {
  public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Begins to listen. `handler` runs in the event loop.
    void listen(std::function<void()> handler);

  private:
    UniqueDescriptor signals_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace lumivastor::app
