// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/input/pointer_interpreter.h"

namespace lumivastor::platform {

/// Presses, releases and scrolling of pointer devices, read until it is destroyed.
class PointerActions {
  public:
    virtual ~PointerActions() = default;
};

/// Called on the reader's own thread, one event at a time. Events have no position.
using PointerActionHandler = std::function<void(const RawPointerEvent&)>;

/// The pointer devices of a machine: mice, touchpads and pointing sticks, never keyboards. For desktops that do not
/// report what the pointer's buttons do. Any thread; at most one `PointerActions` at a time.
class PointerDevices {
  public:
    virtual ~PointerDevices() = default;

    /// Why clicks cannot be seen, or not all of them, as a German sentence; nullopt when all can. Opens no device.
    virtual std::optional<std::string> why() = 0;

    /// Reads all devices, also those that appear later. Null when there is nothing that could be read.
    virtual std::unique_ptr<PointerActions> watch(PointerActionHandler handler) = 0;
};

}  // namespace lumivastor::platform
