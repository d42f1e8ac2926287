// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/pipewire/pipewire_connection.h"

namespace lumivastor::pipewire {

/// A stream of pictures from one node of a PipeWire server. Its handler runs within the connection's `run`; the
/// connection must outlive it. A picture's time is the host time of its capture, by the node's stamp if it has one,
/// else of its arrival.
class CameraStream {
  public:
    /// `size`: what to ask for; nothing: what the node prefers. Throws `RecorderError` when the node cannot be used.
    CameraStream(PipeWireConnection& connection, const PipeWireConnection::Node& node, std::optional<PixelSize> size,
                 std::function<void(platform::DeviceSample)> handler);
    ~CameraStream();
    CameraStream(const CameraStream&) = delete;
    CameraStream& operator=(const CameraStream&) = delete;

    /// Whether the node refused, or is gone.
    bool isBroken() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor::pipewire
