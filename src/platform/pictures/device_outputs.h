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

/// Where a capture session's samples go: at most one output for pictures and one for sound, each bounded. What every
/// kind of session has in common behind its own way of getting them.
///
/// Set outputs first; then samples are handed over by one thread a kind. May end while work still waits in a queue.
class DeviceOutputs {
  public:
    /// `device`: its name, for the log.
    explicit DeviceOutputs(std::string device);
    /// Writes into the log how many samples were dropped because too much waited, if any were.
    ~DeviceOutputs();
    DeviceOutputs(const DeviceOutputs&) = delete;
    DeviceOutputs& operator=(const DeviceOutputs&) = delete;

    using PictureHandler = std::function<void(const DeviceSample&)>;
    using SoundHandler = std::function<void(const SoundBuffer&)>;

    /// Pictures that may wait for the queue: with late ones dropped, and otherwise.
    static constexpr int kWaitingPicturesWhenDiscarding = 2;
    static constexpr int kWaitingPictures = 30;
    /// Some ten seconds of sound at the usual 10 ms a buffer.
    static constexpr int kWaitingSounds = 1000;

    void setVideo(SerialQueue& queue, bool discardsLate, PictureHandler handler);
    void setAudio(SerialQueue& queue, SoundHandler handler);
    bool hasVideo() const { return video_.queue != nullptr; }
    bool hasAudio() const { return audio_.queue != nullptr; }

    /// Hands the sample to its output's queue; drops it when there is no such output or too much waits there.
    void deliver(DeviceSample sample);
    void deliver(SoundBuffer buffer);

  private:
    template <typename Sample>
    struct Output {
        /// Lives on in work that waits when the session has gone.
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
