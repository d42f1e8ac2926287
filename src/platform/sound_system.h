// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/capture_device.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// Which sound input is recorded.
struct InputChoice {
    /// An id of `SoundSystem::microphones`; empty: the desktop's default. A source goes to a chosen device when that
    /// comes, also while it runs.
    std::string id;
    /// While that device is away there is no sound, instead of the default's.
    bool only = false;
};

/// What a server says of the device that a source records.
struct InputState {
    std::string id;
    std::string name;  // for users
    bool isMuted = false;
    /// What the computer plays, not what is spoken.
    bool isMonitor = false;

    bool operator==(const InputState&) const = default;
};

/// One stream of live sound. Start and stop it once, on one thread.
class SoundSource {
  public:
    using Handler = std::function<void(const SoundBuffer&)>;
    using EndHandler = std::function<void(const std::string& reason)>;
    using ReturnHandler = std::function<void()>;
    using StateHandler = std::function<void(const InputState&)>;

    virtual ~SoundSource() = default;

    /// Called each time the sound is back after an `ended`, on the thread of `handler`. Set it before `start`.
    virtual void onReturn(ReturnHandler handler) = 0;
    /// Called when the device is known and on each change, on the thread of `handler`. Set it before `start`. System
    /// sound has no such state.
    virtual void onState(StateHandler /*handler*/) {}

    /// The sound is only measured: its times may be off by tenths of a second, which saves most of the work. Call it
    /// before `start`.
    virtual void onlyForLevels() {}

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

    /// All microphones and other sound inputs, the default among them; no monitors. Their ids stay the same when a
    /// device is plugged in again.
    virtual std::vector<CaptureDevice> microphones();
    /// The same as `microphone` for one of them.
    virtual std::unique_ptr<SoundSource> input(int sampleRate, const InputChoice& choice);
};

// For systems that know only a default.
inline std::vector<CaptureDevice> SoundSystem::microphones() {
    const auto only = defaultMicrophone();
    return only ? std::vector<CaptureDevice>{*only} : std::vector<CaptureDevice>{};
}
inline std::unique_ptr<SoundSource> SoundSystem::input(int sampleRate, const InputChoice& /*choice*/) {
    return microphone(sampleRate);
}

}  // namespace lumivastor::platform
