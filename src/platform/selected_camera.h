// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/capture_device.h"
#include "platform/device_selection.h"

namespace lumivastor::platform {

/// Devices whose default camera is the one that the user has chosen, while that is there. So everything that opens the
/// default camera opens the chosen one. Any thread.
class SelectedCamera final : public CaptureDevices {
  public:
    SelectedCamera(std::unique_ptr<CaptureDevices> devices, std::shared_ptr<const DeviceSelection> selection)
        : devices_(std::move(devices)), selection_(std::move(selection)) {}

    std::optional<CaptureDevice> defaultCamera() override {
        const std::string chosen = selection_->camera();
        if (!chosen.empty()) {
            for (CaptureDevice& each : devices_->cameras()) {
                if (each.lastingId() == chosen) return std::move(each);
            }
        }
        return devices_->defaultCamera();
    }
    std::vector<CaptureDevice> cameras() override { return devices_->cameras(); }
    std::optional<CaptureDevice> defaultMicrophone() override { return devices_->defaultMicrophone(); }
    std::vector<CaptureDevice> externalDevices() override { return devices_->externalDevices(); }
    std::unique_ptr<CaptureSession> open(const CaptureDevice& device) override { return devices_->open(device); }

  private:
    const std::unique_ptr<CaptureDevices> devices_;
    const std::shared_ptr<const DeviceSelection> selection_;
};

}  // namespace lumivastor::platform
