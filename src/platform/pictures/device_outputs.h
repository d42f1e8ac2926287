// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/serial_queue.h"
#include "platform/capture_device.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// The outputs that all kinds of capture sessions share: at most one for pictures and one for sound, each bounded.
///
/// Set outputs first; then one thread for each kind delivers samples. May be destroyed while work still waits in a
/// queue.
class DeviceOutputs {
  public:
    /// `device` is its name in the log.
    explicit DeviceOutputs(std::string device);
    /// Logs the number of samples dropped because the queue was full, if any.
    ~DeviceOutputs();
    DeviceOutputs(const DeviceOutputs&) = delete;
    DeviceOutputs& operator=(const DeviceOutputs&) = delete;

    using PictureHandler = std::function<void(const DeviceSample&)>;
    using SoundHandler = std::function<void(const SoundBuffer&)>;

    /// Pictures that may wait for the queue: with late ones dropped, and otherwise.
    static constexpr int kWaitingPicturesWhenDiscarding = 2;
    static constexpr int kWaitingPictures = 30;
    /// Some ten seconds of sound at the common 10 ms a buffer.
    static constexpr int kWaitingSounds = 1000;

    void setVideo(SerialQueue& queue, bool discardsLate, PictureHandler handler);
    void setAudio(SerialQueue& queue, SoundHandler handler);
    bool hasVideo() const { return video_.queue != nullptr; }
    bool hasAudio() const { return audio_.queue != nullptr; }

    /// Posts the sample to its output's queue; drops it when there is no such output or the queue is full.
    void deliver(DeviceSample sample);
    void deliver(SoundBuffer buffer);

  private:
    template <typename Sample>
    struct Output {
        /// Outlives the session in waiting work.
        struct Shared {
            std::function<void(const Sample&)> handler;
            std::atomic<int> waiting = 0;
        };
        SerialQueue* queue = nullptr;
        int limit = 0;
        std::shared_ptr<Shared> shared;
        std::int64_t dropped = 0;  // that found the queue full

        void deliver(Sample sample);
    };

    const std::string device_;
    Output<DeviceSample> video_;
    Output<SoundBuffer> audio_;
};

}  // namespace lumivastor::platform
