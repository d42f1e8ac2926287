// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/unique_descriptor.h"

struct pw_core;
struct pw_registry;

namespace lumivastor::pipewire {

/// A connection to a PipeWire server without a thread of its own: callbacks run only within its functions, on the
/// thread that owns it (and, for streams that request it, on the library's data thread).
class PipeWireConnection {
  public:
    struct Node {
        std::uint32_t id = 0;
        std::uint64_t serial = 0;  // never reused, unlike ids
        std::string name;
        std::string description;
        std::string mediaClass;
        int outputPorts = 0;
        std::optional<std::uint32_t> firstInputPort;
        std::optional<std::uint32_t> device;  // the object that the node belongs to
    };

    /// Returns when the server has reported all its objects. Throws `RecorderError` when no server answers within
    /// `timeout` seconds.
    PipeWireConnection(const std::string& remote, double timeout);
    /// Over a socket that is connected to a server already, such as a portal's. Does not wait for the server: its
    /// objects, of which a portal shows only some, appear while events are handled. Throws `RecorderError`.
    explicit PipeWireConnection(UniqueDescriptor server);
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_core* core() const;
    pw_registry* registry() const;
    bool isAlive() const;

    /// Waits up to `seconds` for events and handles them.
    void run(double seconds);
    /// Handles events until `done` returns true. Returns false after `timeout` seconds, or when the connection is lost.
    bool runUntil(const std::function<bool()>& done, double timeout);

    /// Waits until the server has answered all requests; false as with `runUntil`.
    bool sync(double timeout);

    /// The nodes that exist now.
    std::vector<Node> nodes() const;
    std::optional<Node> node(const std::string& name) const;
    bool hasNode(std::uint32_t id) const;
    /// The node whose output flows into this one; nullopt when nothing is connected.
    std::optional<Node> sourceOf(std::uint32_t id) const;
    /// Counts microphones and cameras that come and go, and changes of defaults, to see whether there was one.
    std::uint64_t changes() const;
    /// The session manager's default node of a kind ("audio.source"), by name.
    std::optional<std::string> defaultName(const std::string& kind) const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor::pipewire
