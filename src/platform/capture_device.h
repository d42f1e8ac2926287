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
    std::string name;  // for users
    /// A capture card: delivers the screen of another machine, perhaps with sound. False for cameras.
    bool isExternal = false;
    /// Sound channels of the active format; 0 when unknown or without sound.
    int channels = 0;
    /// The hardware behind it: a path below /sys/devices; empty when unknown.
    std::string place = {};
    /// For preferences: stays the same when the device is plugged in again. Empty: the id does.
    std::string lasting = {};
    /// In lists: what the desktop has set as its default.
    bool isDefault = false;

    const std::string& lastingId() const { return lasting.empty() ? id : lasting; }
    bool operator==(const CaptureDevice&) const = default;
};

/// A picture from a device.
struct DeviceSample {
    /// Host clock, seconds.
    double hostSeconds = 0;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> image;
};

/// An opened device. Configure it, start running and stop running, each once and on one thread.
class CaptureSession {
  public:
    virtual ~CaptureSession() = default;

    /// Whether the device can deliver pictures of exactly this size.
    virtual bool canSetPreset(PixelSize size) const = 0;
    virtual void setPreset(PixelSize size) = 0;
    /// The size that is delivered when no preset is set.
    virtual PixelSize activeFormat() const = 0;

    /// Handlers run on `queue`, which must outlive the session. With `discardsLate` a picture is dropped while two
    /// others wait for the queue, otherwise while 30 do. Returns false when the device has no such output. Call before
    /// `startRunning`.
    virtual bool addVideoOutput(SerialQueue& queue, bool discardsLate,
                                std::function<void(const DeviceSample&)> handler) = 0;
    virtual bool addAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) = 0;
    /// Called on any thread when the device goes away while it is running: once, or each time for devices that come
    /// back (`onReturn`). The argument is a German sentence.
    virtual void onInterruption(std::function<void(const std::string&)> handler) = 0;
    /// Called on any thread each time the device delivers again after an interruption. Only microphones come back.
    virtual void onReturn(std::function<void()> /*handler*/) {}

    /// Called on any thread with a German sentence about something that is missing or back while the device goes on.
    virtual void onNotice(std::function<void(const std::string&)> /*handler*/) {}

    /// May block for a moment. Failures go to `onInterruption`.
    virtual void startRunning() = 0;
    /// When it returns, all samples have been posted to the queue, and no more follow.
    virtual void stopRunning() = 0;
};

/// The cameras, capture cards and microphones of this machine. Any thread.
class CaptureDevices {
  public:
    virtual ~CaptureDevices() = default;

    virtual std::optional<CaptureDevice> defaultCamera() = 0;
    /// All cameras, the default among them; no capture cards.
    virtual std::vector<CaptureDevice> cameras() {
        const auto only = defaultCamera();
        return only ? std::vector<CaptureDevice>{*only} : std::vector<CaptureDevice>{};
    }
    virtual std::optional<CaptureDevice> defaultMicrophone() = 0;
    virtual std::vector<CaptureDevice> externalDevices() = 0;
    /// Throws `RecorderError` when the device is gone or cannot be opened.
    virtual std::unique_ptr<CaptureSession> open(const CaptureDevice& device) = 0;
};

}  // namespace lumivastor::platform
