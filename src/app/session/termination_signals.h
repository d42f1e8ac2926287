// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

#include "base/unique_descriptor.h"

namespace lumivastor::app {

/// Turns SIGINT, SIGTERM and SIGHUP into calls on the main thread. Made before any other thread is, so that none of
/// them is interrupted instead.
class TerminationSignals {
  public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Begins to listen; the event loop runs, or will.
    void listen(std::function<void()> handler);

  private:
    UniqueDescriptor signals_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace lumivastor::app
