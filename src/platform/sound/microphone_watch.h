// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "platform/sound/sound_level.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// What is wrong with a microphone that runs; the most urgent first, because only one is reported.
enum class MicrophoneTrouble {
    none,
    muted,      // by the user, at the server
    monitor,    // it is no microphone: what the computer plays is recorded
    replaced,   // the chosen microphone is away, another one is recorded
    noSignal,   // exact silence, or nothing comes at all
    onlyNoise,  // nothing above a microphone's noise
    clipping,
};

/// A microphone's trouble and the device that has it.
struct MicrophoneReport {
    MicrophoneTrouble trouble = MicrophoneTrouble::none;
    /// The device that is recorded, for users; empty when the server has not said.
    std::string device;

    bool operator==(const MicrophoneReport&) const = default;
};

/// Listens whether a microphone is of any use. A plain value. Times are host seconds.
class MicrophoneWatch {
  public:
    /// A peak below this is noise: a microphone's own, of some -80 to -70 dBFS, and not a voice a room away, which
    /// has peaks above -50.
    static constexpr double kNoise = -65;
    static constexpr double kQuietSeconds = 5;
    static constexpr double kClipSeconds = 0.5;
    /// How long clipping is reported after its end, and how long it may pause: a voice pauses between words.
    static constexpr double kClipAfterSeconds = 3;
    static constexpr double kClipPauseSeconds = 0.2;

    /// The microphone begins to run, or is back. `wanted`: the id of the chosen device; empty when it is the default.
    void begin(std::string wanted, double now);
    /// No sound is expected until the next `begin`: it has ended, which others report.
    void end() { isRunning_ = false; }

    void add(const SoundBuffer& sound) {
        add(levelOf(sound.values), sound.hostSeconds,
            sound.hostSeconds + static_cast<double>(sound.frames()) / sound.sampleRate);
    }
    /// Sound of this level, heard from `start` to `stop`.
    void add(const SoundLevel& level, double start, double stop);
    void tell(InputState state) { state_ = std::move(state); }

    MicrophoneReport report(double now) const;

  private:
    MicrophoneTrouble trouble(double now) const;

    bool isRunning_ = false;
    std::string wanted_;
    std::optional<InputState> state_;
    double heardTo_ = 0;
    double lastSignal_ = 0;  // above the noise
    double lastNoise_ = 0;   // not exactly silent
    double clipFrom_ = 0;    // of the present or last stretch of clipping
    double clipTo_ = -1e9;
    double clipReportedTo_ = -1e9;  // the end of the last stretch that was long enough
};

}  // namespace lumivastor::platform
