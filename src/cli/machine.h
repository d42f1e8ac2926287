#pragma once

#include <memory>

#include "capture/capture_services.h"

namespace lumivastor {

/// The services of this machine, each opened when it is first asked for: a job that needs no display works without
/// one. One thread.
class Machine {
  public:
    explicit Machine(MainLoop& mainLoop);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    SoundSystem& sound();
    CaptureDevices& devices();
    /// Throws `RecorderError` when no display server answers.
    Desktop& desktop();

    RecordingServices recordingServices();
    CaptureServices captureServices();

  private:
    MainLoop& mainLoop_;
    std::shared_ptr<SoundSystem> sound_;
    std::unique_ptr<CaptureDevices> devices_;
    std::unique_ptr<Desktop> desktop_;
};

}  // namespace lumivastor
