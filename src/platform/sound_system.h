// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture_device.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// One stream of live sound. Start and stop it once, on one thread.
class SoundSource {
  public:
    using Handler = std::function<void(const SoundBuffer&)>;
    using EndHandler = std::function<void(const std::string& reason)>;
    using ReturnHandler = std::function<void()>;

    virtual ~SoundSource() = default;

    /// Called each time the sound is back after an `ended`, on the thread of `handler`. Set it before `start`.
    virtual void onReturn(ReturnHandler handler) = 0;

    /// `handler` runs on the source's own thread. `ended` is called once for each outage (the server is gone); the
    /// source then tries to reconnect until it is stopped. Throws `RecorderError` when there is no such sound.
    virtual void start(Handler handler, EndHandler ended) = 0;
    /// When it returns, all sound has been passed to `handler`, and no more follows.
    virtual void stop() = 0;
};

/// The sound server. Any thread.
class SoundSystem {
  public:
    virtual ~SoundSystem() = default;

    /// Records what the speakers play.
    virtual std::unique_ptr<SoundSource> systemAudio(int sampleRate, int channels) = 0;
    /// Records the default microphone with the device's own number of channels.
    virtual std::unique_ptr<SoundSource> microphone(int sampleRate) = 0;
    virtual std::optional<CaptureDevice> defaultMicrophone() = 0;
};

}  // namespace lumivastor::platform
