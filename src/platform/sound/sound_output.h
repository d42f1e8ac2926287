// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/pcm_format.h"
#include "base/recorder_error.h"

namespace lumivastor::platform {

/// Where a player's sound goes, and the clock that goes with it: how much of it has been heard so far. Sound is asked
/// for a few hundredths of a second before it is heard, so that a change of volume is heard soon.
///
/// `start`, `stop` and the destructor belong to one thread at a time; `heardFrames` may be asked on any thread.
class SoundOutput {
  public:
    /// What is played: 48 kHz, stereo.
    static constexpr PcmFormat kFormat{};

    struct Client {
        /// Fills whole frames of `kFormat` with the sound that comes next. Called on a thread of the output's; must be
        /// quick and must not call the output.
        std::function<void(std::span<float> values)> fill;
        /// Nothing more will be heard, because there is no device or it went away: once, after which nothing is asked
        /// for and `heardFrames` stands still. Called on a thread of the output's, possibly within `start`; must not
        /// call the output.
        std::function<void(const RecorderError& reason)> lost;
    };

    virtual ~SoundOutput() = default;

    /// Begins a run. Returns at once; the device may take its time, or be lost, later. Not while running.
    virtual void start(Client client) = 0;
    /// Ends the run at once: what has not been heard yet never will be. No callback runs when this has returned.
    /// Nothing happens when not running.
    virtual void stop() = 0;

    /// Frames of this run, or of the last one, that have been heard. Never goes back within a run, never exceeds what
    /// `fill` has given.
    virtual std::int64_t heardFrames() const = 0;
};

}  // namespace lumivastor::platform
