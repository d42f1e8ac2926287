// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"

namespace lumivastor::synthetic {

/// A camera, capture card or microphone that a test drives by hand. Any thread.
class SyntheticDevice {
  public:
    /// A camera of 640 × 480 without presets and without sound; the calls below change that.
    explicit SyntheticDevice(platform::CaptureDevice description);
    ~SyntheticDevice();

    platform::CaptureDevice description() const;

    // What sessions that are opened from now on find.
    void setPresets(std::vector<PixelSize> presets);
    void setActiveFormat(PixelSize size);
    void setHasVideo(bool hasVideo);
    void setHasAudio(bool hasAudio);
    /// Opening throws a `RecorderError` with this message; nullopt makes it succeed again.
    void failOpens(std::optional<std::string> message);
    /// Running begins with an interruption with this message; nullopt makes it succeed again.
    void failStarts(std::optional<std::string> message);
    /// Opening waits for the future, like a slow device, and throws its exception if it has one; an invalid future ends
    /// the waiting.
    void holdOpens(std::shared_future<void> until);

    /// The threads that opened the device, and those that stopped a session of it, in order.
    std::vector<std::thread::id> openedOn() const;
    std::vector<std::thread::id> stoppedOn() const;

    /// Whether a session of this device is running.
    bool isRunning() const;
    /// What the session opened last delivers: its preset, or else the active format.
    PixelSize size() const;

    // All of these: whether a session was running; otherwise they do nothing.
    bool emitPicture(double hostSeconds, std::shared_ptr<const imaging::BgraPremultipliedBuffer> image);
    /// An opaque picture of `size()` in one grey.
    bool emitPicture(double hostSeconds, std::uint8_t grey = 128);
    bool emitSound(const platform::SoundBuffer& buffer);
    /// As if the device were unplugged: the session reports it and delivers nothing more.
    bool interrupt(const std::string& reason);
    /// As if it were plugged in again: the interrupted session reports it and runs again. Returns whether there was
    /// one.
    bool comeBack();

    /// For `SyntheticCaptureDevices`.
    std::unique_ptr<platform::CaptureSession> open();

  private:
    class State;
    class Session;

    std::shared_ptr<State> state_;
};

/// The devices of a machine that a test describes. Any thread.
class SyntheticCaptureDevices final : public platform::CaptureDevices {
  public:
    /// Null: there is none. All of them may be set and looked at while they are in use.
    void setDefaultCamera(std::shared_ptr<SyntheticDevice> camera);
    void setDefaultMicrophone(std::shared_ptr<SyntheticDevice> microphone);
    void addExternalDevice(std::shared_ptr<SyntheticDevice> device);

    // CaptureDevices
    std::optional<platform::CaptureDevice> defaultCamera() override;
    std::optional<platform::CaptureDevice> defaultMicrophone() override;
    std::vector<platform::CaptureDevice> externalDevices() override;
    /// By the device's id, among those above.
    std::unique_ptr<platform::CaptureSession> open(const platform::CaptureDevice& device) override;

  private:
    std::mutex lock_;
    std::shared_ptr<SyntheticDevice> camera_;                 // guarded by lock_
    std::shared_ptr<SyntheticDevice> microphone_;             // guarded by lock_
    std::vector<std::shared_ptr<SyntheticDevice>> external_;  // guarded by lock_
};

}  // namespace lumivastor::synthetic
