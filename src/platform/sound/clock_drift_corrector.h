// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "platform/sound/clock_drift_estimator.h"
#include "platform/sound/sinc_resampler.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// Turns what a sound device delivers, counted by the device's own clock, into sound whose times and frame counts agree
/// with the host clock: within a run each buffer begins exactly where the one before ended, and what the device's clock
/// gains or loses is taken out by playing at most 0.15 % slower or faster, which nobody hears. A gap begins a new run,
/// whose time jumps; times never run backward.
///
/// The sound comes out late by what it takes to judge arrival times (`settleSeconds` at the beginning of a run, half a
/// second where something looks like a gap, nothing otherwise); its times say when it was heard all the same. One
/// thread.
class ClockDriftCorrector {
  public:
    struct Options {
        int sampleRate = 48000;  // of what comes in and what goes out
        int channels = 2;
        /// How far arrival times stray (standard deviation). Above 0.
        double jitterSeconds = 0.01;
        /// Arrivals that are all further off than this, for half a second, are a gap that nobody told of.
        double gapSeconds = 0.03;
        /// Arrivals over this long decide where a run begins.
        double settleSeconds = 0.25;
        /// A line that all arrivals of a second lie beside, on the same side and by this much on average, is the wrong
        /// one: less than `gapSeconds` was lost, and nobody told.
        double shiftSeconds = 0.006;
    };
    using Output = std::function<void(SoundBuffer)>;

    ClockDriftCorrector(const Options& options, Output output);

    int channels() const { return options_.channels; }

    /// Sound of which the first frame has number `frame` by the device's count and was heard at about `hostSeconds`.
    /// Numbers that leave some out say that sound was lost; numbers that go back, that the device began anew.
    void add(std::int64_t frame, double hostSeconds, std::span<const float> values);

    /// The device begins anew: another clock, another count.
    void restart();

    /// Hands over what is still held, with the few frames at its end that were waiting for their successors.
    void finish();

  private:
    struct Chunk {
        std::int64_t frame = 0;
        double hostSeconds = 0;
        std::vector<float> values;
    };
    struct Arrival {
        std::int64_t frame = 0;
        double hostSeconds = 0;
        double offLine = 0;  // of the line as it was, in seconds
    };

    std::int64_t framesOf(const Chunk& chunk) const;
    double heldSeconds() const;
    /// Remembers an arrival near the line; whether the line is to be given up for what it and those before it say.
    bool isBesideLine(std::int64_t frame, double hostSeconds);
    /// Gives up the line at hand for one through the last arrivals, on which what is held is handed over. What was
    /// handed over before stays as it is.
    void shift();
    /// Fits a new line through everything that is held and hands it over.
    void settle();
    /// Begins a line from what the arrivals say, which ascend and are not none.
    void fitAnew(const std::vector<Arrival>& arrivals);
    /// Takes the held chunks as they stand on the line at hand.
    void release();
    void playHeld();
    void play(const Chunk& chunk);
    void beginRun(std::int64_t frame);
    void endRun();
    void emit(std::vector<float> values);

    Options options_;
    Output output_;
    ClockDriftEstimator fit_;
    std::vector<Chunk> held_;       // until it is clear where they belong
    std::deque<Arrival> arrivals_;  // of the last second, all on the same side of the line
    SincResampler sound_;
    bool running_ = false;
    std::int64_t nextFrame_ = 0;          // what follows without a gap
    double position_ = 0;                 // of the next frame to go out, in device frames
    double runStart_ = 0;                 // host seconds of the run's first frame
    std::int64_t runFrames_ = 0;          // handed over since
    std::optional<double> handedOverTo_;  // host seconds
};

}  // namespace lumivastor::platform
