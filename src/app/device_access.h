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
    refused,  // there is one, but it does not let itself be used
    missing,  // there is none
};

/// Whether microphone, camera and devices may be used: whether they can be opened. They are opened in the background
/// and closed again. Main thread; completions run on the main thread, not within the call, and not after this is
/// destroyed.
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
    /// `what` is asked for, for the log.
    void request(std::string what, std::function<Access()> ask, Completion completion);

    const capture::RecordingServices services_;
    Lifetime lifetime_;
    SerialQueue queue_{"app.access"};
};

}  // namespace lumivastor::app
