// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "platform/pipewire/pipewire_connection.h"

namespace lumivastor::pipewire {

/// The time from a cycle of the server until the default sink's speakers play that cycle's sound. A monitor's own delay
/// does not include it: that is the delay from the players to the monitor. Follows the default sink. One thread, unless
/// a function says otherwise.
class SinkLatency {
  public:
    explicit SinkLatency(PipeWireConnection& connection);
    ~SinkLatency();
    SinkLatency(const SinkLatency&) = delete;
    SinkLatency& operator=(const SinkLatency&) = delete;

    /// Follows a change of the default sink. A sink's properties arrive within `PipeWireConnection::run`.
    void update();

    /// The latency in seconds when a cycle takes `cycleSeconds`. Any thread, including realtime ones.
    double seconds(double cycleSeconds) const { return cycles_ * cycleSeconds + constantSeconds_; }

  private:
    class Watch;

    PipeWireConnection& connection_;
    std::atomic<double> cycles_ = 0;
    std::atomic<double> constantSeconds_ = 0;
    std::string sink_;
    std::unique_ptr<Watch> watch_;
};

}  // namespace lumivastor::pipewire
