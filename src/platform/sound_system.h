// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/capture_device.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// One running stream of sound. Start and stop once, on one thread.
class SoundSource {
  public:
    using Handler = std::function<void(const SoundBuffer&)>;
    using EndHandler = std::function<void(const std::string& reason)>;
    using ReturnHandler = std::function<void()>;

    virtual ~SoundSource() = default;

    /// Told each time the sound comes again after `ended` was told, on the thread of `handler`. Before `start`.
    virtual void onReturn(ReturnHandler handler) = 0;

    /// `handler` runs on a thread of the source's own. `ended` is told, once for each outage, when the sound stops
    /// coming by itself (the server is gone); the source then tries to get it back until it is stopped. Throws
    /// `RecorderError` when there is no such sound.
    virtual void start(Handler handler, EndHandler ended) = 0;
    /// When it returns, everything that was heard has been handed over, and nothing follows.
    virtual void stop() = 0;
};

/// The sound server. Any thread.
class SoundSystem {
  public:
    virtual ~SoundSystem() = default;

    /// What the speakers play.
    virtual std::unique_ptr<SoundSource> systemAudio(int sampleRate, int channels) = 0;
    /// What the default microphone hears, in the device's own number of channels.
    virtual std::unique_ptr<SoundSource> microphone(int sampleRate) = 0;
    virtual std::optional<CaptureDevice> defaultMicrophone() = 0;
};

}  // namespace lumivastor::platform
