// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>

#include "platform/pipewire/pipewire_connection.h"

namespace lumivastor::pipewire {

/// Whether a node is muted, or its volume is zero. Its properties arrive within `PipeWireConnection::run`. One thread.
class SourceMute {
  public:
    explicit SourceMute(PipeWireConnection& connection);
    ~SourceMute();
    SourceMute(const SourceMute&) = delete;
    SourceMute& operator=(const SourceMute&) = delete;

    /// From now on about this node; no effect when it is that already.
    void watch(std::uint32_t node);
    /// False until the properties have arrived.
    bool isMuted() const { return isMuted_; }

  private:
    class Watch;

    PipeWireConnection& connection_;
    bool isMuted_ = false;
    std::uint32_t node_ = 0;
    std::unique_ptr<Watch> watch_;
};

}  // namespace lumivastor::pipewire
