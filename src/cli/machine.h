// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "capture/capture_services.h"
#include "platform/device_selection.h"
#include "platform/sound/sound_board.h"

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

    /// What sound and devices follow; set it before they are opened.
    platform::DeviceSelection& selection() { return *selection_; }
    /// The levels of the sources that run.
    platform::SoundBoard& soundBoard() { return *soundBoard_; }

  private:
    MainLoop& mainLoop_;
    const std::shared_ptr<platform::DeviceSelection> selection_ = std::make_shared<platform::DeviceSelection>();
    const std::shared_ptr<platform::SoundBoard> soundBoard_ = std::make_shared<platform::SoundBoard>();
    std::shared_ptr<platform::SoundSystem> sound_;
    std::unique_ptr<platform::CaptureDevices> devices_;
    std::unique_ptr<platform::Desktop> desktop_;
};

}  // namespace lumivastor::cli
