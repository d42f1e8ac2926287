// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.h"
#include "base/serial_queue.h"
#include "capture/capture_services.h"

namespace lumivastor::app {

enum class Access {
    granted,
    refused,  // present, but cannot be opened
    missing,  // there is no such device
};

/// Finds out whether microphone, camera and devices can be used, by opening and closing them in the background. Main
/// thread; completions run on the main thread, never before the call returns and never after destruction.
class DeviceAccess {
  public:
    explicit DeviceAccess(const capture::RecordingServices& services);
    ~DeviceAccess();
    DeviceAccess(const DeviceAccess&) = delete;
    DeviceAccess& operator=(const DeviceAccess&) = delete;

    using Completion = std::function<void(Access)>;
    void requestMicrophone(Completion completion);
    void requestCamera(Completion completion);
    void requestDevice(const platform::CaptureDevice& device, Completion completion);

  private:
    /// `what` is the device's name in the log.
    void request(std::string what, std::function<Access()> ask, Completion completion);

    const capture::RecordingServices services_;
    Lifetime lifetime_;
    SerialQueue queue_{"app.access"};
};

}  // namespace lumivastor::app
