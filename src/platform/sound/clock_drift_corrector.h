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

/// Turns sound that is counted by a device's own clock into sound whose times and frame counts agree with the host
/// clock: within a run each buffer begins exactly where the one before ended, and the drift of the device's clock is
/// removed by playing at most 0.15 % slower or faster, which is inaudible. A gap begins a new run, whose time jumps;
/// times never run backward.
///
/// Sound comes out late by the time that it takes to judge arrival times (`settleSeconds` at the beginning of a run,
/// half a second at a possible gap, nothing otherwise); its times still say when it was heard. One thread.
class ClockDriftCorrector {
  public:
    struct Options {
        int sampleRate = 48000;  // of what comes in and what goes out
        int channels = 2;
        /// The jitter of arrival times (standard deviation). Above 0.
        double jitterSeconds = 0.01;
        /// Arrivals that are all further off than this, for half a second, are a gap that was not reported.
        double gapSeconds = 0.03;
        /// Arrivals during this time decide where a run begins.
        double settleSeconds = 0.25;
        /// If all arrivals of a second are on the same side of the line, and by this much on average, the line is
        /// wrong: less than `gapSeconds` was lost, and the loss was not reported.
        double shiftSeconds = 0.006;
        /// Passes the sound on as it comes, with the times of its arrival: for level meters.
        bool isOnlyForLevels = false;
    };
    using Output = std::function<void(SoundBuffer)>;

    ClockDriftCorrector(const Options& options, Output output);

    int channels() const { return options_.channels; }
    /// Whether the times of what comes in matter.
    bool needsTimes() const { return !options_.isOnlyForLevels; }

    /// Adds sound whose first frame has number `frame` by the device's count and was heard at about `hostSeconds`.
    /// Skipped numbers mean that sound was lost; decreasing numbers, that the device restarted.
    void add(std::int64_t frame, double hostSeconds, std::span<const float> values);

    /// The device restarts with another clock and another count.
    void restart();

    /// Passes on what is still held, with the few frames at its end that were waiting for their successors.
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
        double offLine = 0;  // from the line as it was, in seconds
    };

    std::int64_t framesOf(const Chunk& chunk) const;
    double heldSeconds() const;
    /// Remembers an arrival near the line. Returns whether this and earlier arrivals show that the line is wrong.
    bool isBesideLine(std::int64_t frame, double hostSeconds);
    /// Replaces the line by one through the last arrivals and passes on what is held by the new one. What was passed on
    /// before does not change.
    void shift();
    /// Fits a new line through everything that is held and passes that on.
    void settle();
    /// Begins a line from the arrivals, which ascend; at least one.
    void fitAnew(const std::vector<Arrival>& arrivals);
    /// Passes on the held chunks by the current line.
    void release();
    void playHeld();
    void play(const Chunk& chunk);
    void beginRun(std::int64_t frame);
    void endRun();
    void emit(std::vector<float> values);

    Options options_;
    Output output_;
    ClockDriftEstimator fit_;
    std::vector<Chunk> held_;       // until their place is known
    std::deque<Arrival> arrivals_;  // of the last second, all on the same side of the line
    SincResampler sound_;
    bool running_ = false;
    std::int64_t nextFrame_ = 0;          // the frame that follows without a gap
    double position_ = 0;                 // of the next frame to go out, in device frames
    double runStart_ = 0;                 // host seconds of the run's first frame
    std::int64_t runFrames_ = 0;          // handed over since
    std::optional<double> handedOverTo_;  // host seconds
};

}  // namespace lumivastor::platform
