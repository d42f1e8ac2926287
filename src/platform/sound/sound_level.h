// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

namespace lumivastor::platform {

/// The level of silence, in dBFS: below what 16 bits can hold. No level is lower.
inline constexpr double kSilentLevel = -120;

/// An amplitude in dBFS: 0 at full scale (1), `kSilentLevel` for zero and for what is no number.
double decibels(double amplitude);

/// How loud a piece of sound is, in dBFS. A sine of full scale has the peak 0 and the RMS -3.01.
struct SoundLevel {
    double peak = kSilentLevel;
    double rms = kSilentLevel;
    /// A value is at full scale, so it was probably cut off there.
    bool isClipped = false;
};

SoundLevel levelOf(std::span<const float> values);

/// What a level meter shows: peak and RMS rise at once and fall slowly, so that the eye can follow; the highest peak
/// stays for a while. A plain value. Times are seconds of one clock and ascend.
class LevelMeter {
  public:
    struct Reading {
        double rms = kSilentLevel;
        double peak = kSilentLevel;
        /// The highest peak of the last moments.
        double hold = kSilentLevel;
        /// The sound was clipped not long ago.
        bool isClipped = false;

        bool operator==(const Reading&) const = default;
    };

    /// How far peak and RMS fall in a second, in decibels: as most meters do, twenty in 1.0 to 1.7 seconds.
    static constexpr double kFall = 20;
    static constexpr double kHoldSeconds = 1.5;
    /// Long enough to be seen by somebody who looks at the screen that is recorded.
    static constexpr double kClipSeconds = 3;

    void add(std::span<const float> values, double now) { add(levelOf(values), now); }
    void add(const SoundLevel& level, double now);
    /// Without new sound everything falls to silence.
    Reading read(double now);

  private:
    void fall(double now);

    Reading shown_;
    double fallenTo_ = 0;   // the time
    double holdUntil_ = 0;  // the time at which `hold` begins to fall
    double clipUntil_ = 0;
};

}  // namespace lumivastor::platform
