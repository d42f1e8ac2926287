// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "capture/capture_services.h"

namespace lumivastor::cli {

/// The services of this machine. Each is opened at its first use, so a job that needs no display works without one. One
/// thread.
class Machine {
  public:
    explicit Machine(MainLoop& mainLoop);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    platform::SoundSystem& sound();
    platform::CaptureDevices& devices();
    /// Throws `RecorderError` when no display server answers.
    platform::Desktop& desktop();

    capture::RecordingServices recordingServices();

  private:
    MainLoop& mainLoop_;
    std::shared_ptr<platform::SoundSystem> sound_;
    std::unique_ptr<platform::CaptureDevices> devices_;
    std::unique_ptr<platform::Desktop> desktop_;
};

}  // namespace lumivastor::cli
