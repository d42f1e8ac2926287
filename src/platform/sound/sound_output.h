// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/pcm_format.h"
#include "base/recorder_error.h"

namespace lumivastor::platform {

/// The output for a player's sound, and its clock: how much of the sound has been heard so far. It requests sound a few
/// hundredths of a second before that is heard, so that a change of volume takes effect soon.
///
/// `start`, `stop` and the destructor belong to one thread at a time; `heardFrames` may be called on any thread.
class SoundOutput {
  public:
    /// The format that is played: 48 kHz, stereo.
    static constexpr PcmFormat kFormat{};

    struct Client {
        /// Fills whole frames of `kFormat` with the next sound. Called on one of the output's threads; must be quick
        /// and must not call the output.
        std::function<void(std::span<float> values)> fill;
        /// Called once when nothing more will be heard, because there is no device or it was removed. Afterwards no
        /// sound is requested and `heardFrames` does not change. Called on one of the output's threads, possibly within
        /// `start`; must not call the output.
        std::function<void(const RecorderError& reason)> lost;
    };

    virtual ~SoundOutput() = default;

    /// Begins a run. Returns at once; the device may start, or be lost, later. Not while running.
    virtual void start(Client client) = 0;
    /// Ends the run at once and discards sound that was not heard yet. No callback runs after this has returned. No
    /// effect when not running.
    virtual void stop() = 0;

    /// Frames of this run, or of the last one, that have been heard. Never decreases within a run, and never exceeds
    /// what `fill` has supplied.
    virtual std::int64_t heardFrames() const = 0;
};

}  // namespace lumivastor::platform
