// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/devices/libav_input.h"
#include "platform/pictures/device_outputs.h"

namespace lumivastor::devices {

/// A capture session of a device that libavdevice opens: a V4L2 camera or capture card, or a synthetic device that a
/// filter graph describes. While it runs it has its own thread ("device.read").
class LibavSession final : public platform::CaptureSession {
  public:
    struct Configuration {
        std::string name;  // in messages
        bool isExternal = false;
        bool hasSound = false;
        std::vector<PixelSize> presets;
        PixelSize activeFormat;
        /// What to open for a preset, or without one. The thread's.
        std::function<LibavSource(std::optional<PixelSize>)> source;
        /// Already open, for the first use without a preset; may be null.
        std::unique_ptr<LibavInput> open;
        /// For devices that deliver as fast as they are read: samples are held until their time.
        bool needsPacing = false;
    };

    explicit LibavSession(Configuration configuration);
    ~LibavSession() override;
    LibavSession(const LibavSession&) = delete;
    LibavSession& operator=(const LibavSession&) = delete;

    bool canSetPreset(PixelSize size) const override;
    void setPreset(PixelSize size) override;
    PixelSize activeFormat() const override;
    bool addVideoOutput(SerialQueue& queue, bool discardsLate,
                        std::function<void(const platform::DeviceSample&)> handler) override;
    bool addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override;
    void onInterruption(std::function<void(const std::string&)> handler) override;
    void startRunning() override;
    void stopRunning() override;

  private:
    class Reading;

    void read();
    /// Waits until the host clock reaches `hostSeconds`; returns false when the session is stopped before.
    bool waitUntil(double hostSeconds);

    Configuration configuration_;
    std::optional<PixelSize> preset_;
    platform::DeviceOutputs outputs_{configuration_.name};
    std::function<void(const std::string&)> interrupted_;
    std::mutex lock_;
    std::condition_variable wake_;
    bool stopping_ = false;  // guarded by lock_
    std::thread thread_;
};

}  // namespace lumivastor::devices
