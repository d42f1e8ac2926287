// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/pulse/pulse_handles.h"

struct pa_mainloop;

namespace lumivastor::pulse {

/// A connection to a PulseAudio server without a thread of its own: callbacks run only within its functions, on the
/// thread that owns it.
class PulseConnection {
  public:
    struct Server {
        std::string name;
        std::string version;
        std::string defaultSink;
        std::string defaultSource;
        bool isPipeWire = false;
    };
    struct Source {
        std::string name;
        std::string description;
        int channels = 0;
        bool isMonitor = false;
        bool isMuted = false;  // or its volume is zero
        /// The hardware behind it: a path below /sys/devices; empty when the server does not tell.
        std::string place;
    };

    /// Throws `RecorderError` when no server answers within `timeout` seconds.
    PulseConnection(const std::string& server, double timeout);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    pa_context* context() const { return context_.get(); }
    bool isAlive() const;

    /// Waits up to `seconds` for events and handles them.
    void run(double seconds);
    /// Handles events until `done` returns true. Returns false after `timeout` seconds, or when the connection is lost.
    bool runUntil(const std::function<bool()>& done, double timeout);

    /// The following query the server, and throw `RecorderError` when it does not answer.
    Server server();
    /// nullopt when there is no such source.
    std::optional<Source> source(const std::string& name);
    std::vector<Source> sources();

    /// The name of a sink's monitor source; nullopt when there is no such sink.
    std::optional<std::string> monitor(const std::string& sink);

    /// From now on `changed` is called, within `run`, whenever the server's defaults or sources may have changed.
    void watchServer(std::function<void()> changed);

  private:
    struct LoopDelete {
        void operator()(pa_mainloop* loop) const;
    };

    void await(pa_operation* started);

    std::unique_ptr<pa_mainloop, LoopDelete> loop_;
    ContextHandle context_;
    std::function<void()> serverChanged_;
};

}  // namespace lumivastor::pulse
