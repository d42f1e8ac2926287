// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_core;
struct pw_registry;

namespace lumivastor::pipewire {

/// A connection to a PipeWire server that is worked by the thread that owns it: nothing happens but within its calls
/// (and, for streams that ask for it, on the library's data thread).
class PipeWireConnection {
  public:
    struct Node {
        std::uint32_t id = 0;
        std::uint64_t serial = 0;  // never given again, unlike ids
        std::string name;
        std::string description;
        std::string mediaClass;
        int outputPorts = 0;
        std::optional<std::uint32_t> firstInputPort;
    };

    /// Throws `RecorderError` when nobody answers within `timeout` seconds. Afterwards everything that the server has
    /// is known.
    PipeWireConnection(const std::string& remote, double timeout);
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_core* core() const;
    pw_registry* registry() const;
    bool isAlive() const;

    /// Waits for up to `seconds` for something to happen, and lets it.
    void run(double seconds);
    /// Runs until `done`; false when it took longer than `timeout` seconds or the connection broke.
    bool runUntil(const std::function<bool()>& done, double timeout);

    /// Waits until everything that was asked for has been answered; false as with `runUntil`.
    bool sync(double timeout);

    /// What there is by now.
    std::vector<Node> nodes() const;
    std::optional<Node> node(const std::string& name) const;
    bool hasNode(std::uint32_t id) const;
    /// The name of the default node of a kind ("audio.source"), as the session manager says it.
    std::optional<std::string> defaultName(const std::string& kind) const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor::pipewire
