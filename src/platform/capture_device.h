// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/pixel_size.h"
#include "base/serial_queue.h"
#include "imaging/pixel_buffer.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// Something to open that delivers pictures or sound: a camera, a capture card, a microphone.
struct CaptureDevice {
    std::string id;    // stays the same while the device is plugged in
    std::string name;  // as people read it
    /// Delivers the screen of something else (a capture card), with sound where it has some; not a camera.
    bool isExternal = false;
    /// Of the active format; 0 where it is not known or the device has no sound.
    int channels = 0;
};

/// A picture from a device.
struct DeviceSample {
    /// Host clock, seconds.
    double hostSeconds = 0;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> image;
};

/// One device that is being used. Configure, start running, stop running; once. One thread.
class CaptureSession {
  public:
    virtual ~CaptureSession() = default;

    /// Whether the device can deliver pictures of exactly this size.
    virtual bool canSetPreset(PixelSize size) const = 0;
    virtual void setPreset(PixelSize size) = 0;
    /// The size that is delivered when no preset is set.
    virtual PixelSize activeFormat() const = 0;

    /// Handlers run on the queue, which outlives the session. `discardsLate`: a picture that comes while two are still
    /// waiting for the queue is dropped; otherwise up to 30 wait before one is. False when the device has nothing of
    /// the kind. Before `startRunning`.
    virtual bool addVideoOutput(SerialQueue& queue, bool discardsLate,
                                std::function<void(const DeviceSample&)> handler) = 0;
    virtual bool addAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) = 0;
    /// Told, from any thread, when the device goes away while it is running: once, or each time for those that tell
    /// `onReturn` that they are back.
    virtual void onInterruption(std::function<void(const std::string&)> handler) = 0;
    /// Told, from any thread, each time the device delivers again after an interruption. Only microphones come back.
    virtual void onReturn(std::function<void()> /*handler*/) {}

    /// May take a moment. Trouble is told to `onInterruption`.
    virtual void startRunning() = 0;
    /// When it returns, everything that was taken has been handed to the queue, and nothing follows.
    virtual void stopRunning() = 0;
};

/// The cameras, capture cards and microphones of this machine. Any thread.
class CaptureDevices {
  public:
    virtual ~CaptureDevices() = default;

    virtual std::optional<CaptureDevice> defaultCamera() = 0;
    virtual std::optional<CaptureDevice> defaultMicrophone() = 0;
    virtual std::vector<CaptureDevice> externalDevices() = 0;
    /// Throws `RecorderError` when the device is gone or may not be used.
    virtual std::unique_ptr<CaptureSession> open(const CaptureDevice& device) = 0;
};

}  // namespace lumivastor::platform
