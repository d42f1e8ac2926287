// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "platform/input/device_event.h"
#include "platform/input/pointer_devices.h"

namespace lumivastor::platform {

/// Decodes the kernel's records of one wheel mouse (`struct input_event`), in pieces of any size. Plain value.
class KernelEventDecoder {
  public:
    /// Calls `handler` for each complete event. Motion and everything else is left out.
    void decode(std::span<const std::byte> bytes, const std::function<void(const DeviceEvent&)>& handler);

  private:
    struct Wheel {
        int notches = 0;
        int parts = 0;  // 120ths, from wheels that report them as well

        int total() const { return parts != 0 ? parts : notches * 120; }
    };

    std::vector<std::byte> rest_;  // of a record
    // Of the report that is not complete; positive is up and right, as the kernel has it.
    Wheel vertical_;
    Wheel horizontal_;
};

/// A named pipe that stands in for a mouse, for tests of the whole program where there is none: what is written into it
/// are the kernel's records with times of the host clock.
std::unique_ptr<PointerDevices> openEventPipe(std::filesystem::path pipe);

}  // namespace lumivastor::platform
