// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/clock_drift_corrector.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::platform {
namespace {

// Half a second without a single arrival near the line cannot be jitter, and is short enough to hold sound back.
constexpr double kDoubtSeconds = 0.5;

// A busy machine delays arrivals, but in each second some are on time; only lost sound moves them all.
constexpr double kShiftedSeconds = 1;

// A deviation of the sound is corrected in about this time, by playing at most this much faster or slower. Half a
// thousandth is below a hundredth of a semitone.
constexpr double kCorrectionSeconds = 1;
constexpr double kLargestCorrection = 500e-6;

}  // namespace

ClockDriftCorrector::ClockDriftCorrector(const Options& options, Output output)
    : options_(options),
      output_(std::move(output)),
      fit_(options.sampleRate, options.jitterSeconds),
      sound_(options.channels) {}

std::int64_t ClockDriftCorrector::framesOf(const Chunk& chunk) const {
    return static_cast<std::int64_t>(chunk.values.size()) / options_.channels;
}

double ClockDriftCorrector::heldSeconds() const {
    if (held_.empty()) return 0;
    return static_cast<double>(held_.back().frame + framesOf(held_.back()) - held_.front().frame) / options_.sampleRate;
}

void ClockDriftCorrector::add(std::int64_t frame, double hostSeconds, std::span<const float> values) {
    if (options_.isOnlyForLevels) {
        output_({hostSeconds, options_.sampleRate, options_.channels, {values.begin(), values.end()}});
        return;
    }
    precondition(values.size() % static_cast<std::size_t>(options_.channels) == 0, "whole frames");
    if (values.empty()) return;
    const std::int64_t expected = held_.empty() ? nextFrame_ : held_.back().frame + framesOf(held_.back());
    if ((running_ || !held_.empty()) && frame < expected) restart();
    held_.push_back({frame, hostSeconds, {values.begin(), values.end()}});

    if (fit_.isEmpty()) {
        if (heldSeconds() >= options_.settleSeconds) settle();
    } else if (std::abs(hostSeconds - fit_.hostSeconds(static_cast<double>(frame))) <= options_.gapSeconds) {
        if (isBesideLine(frame, hostSeconds)) {
            shift();
        } else {
            release();
        }
    } else if (heldSeconds() >= kDoubtSeconds) {
        endRun();
        settle();
    }
}

void ClockDriftCorrector::settle() {
    std::vector<Arrival> arrivals;
    for (const Chunk& chunk : held_) arrivals.push_back({chunk.frame, chunk.hostSeconds});
    fitAnew(arrivals);
    playHeld();
}

void ClockDriftCorrector::fitAnew(const std::vector<Arrival>& arrivals) {
    // The line begins at the median, which a few late arrivals do not move.
    std::vector<double> starts;
    for (const Arrival& arrival : arrivals) {
        const auto count = static_cast<double>(arrival.frame - arrivals.front().frame);
        starts.push_back(arrival.hostSeconds - count / options_.sampleRate);
    }
    const auto middle = starts.begin() + static_cast<std::ptrdiff_t>(starts.size() / 2);
    std::nth_element(starts.begin(), middle, starts.end());
    fit_ = ClockDriftEstimator(options_.sampleRate, options_.jitterSeconds);
    fit_.add(arrivals.front().frame, *middle);
    for (const Arrival& arrival : arrivals) fit_.add(arrival.frame, arrival.hostSeconds);
    arrivals_.clear();
}

bool ClockDriftCorrector::isBesideLine(std::int64_t frame, double hostSeconds) {
    const double offLine = hostSeconds - fit_.hostSeconds(static_cast<double>(frame));
    if (!arrivals_.empty() && std::signbit(arrivals_.back().offLine) != std::signbit(offLine)) arrivals_.clear();
    arrivals_.push_back({frame, hostSeconds, offLine});
    const auto since = [frame, this](const Arrival& arrival) {
        return static_cast<double>(frame - arrival.frame) / options_.sampleRate;
    };
    if (since(arrivals_.front()) < kShiftedSeconds) return false;
    double sum = 0;
    for (const Arrival& arrival : arrivals_) sum += arrival.offLine;
    if (std::abs(sum) >= options_.shiftSeconds * static_cast<double>(arrivals_.size())) return true;
    while (since(arrivals_.front()) >= kShiftedSeconds) arrivals_.pop_front();
    return false;
}

void ClockDriftCorrector::shift() {
    endRun();
    const std::int64_t from =
        arrivals_.back().frame - static_cast<std::int64_t>(options_.settleSeconds * options_.sampleRate);
    std::vector<Arrival> last;
    for (const Arrival& arrival : arrivals_) {
        if (arrival.frame >= from) last.push_back(arrival);
    }
    fitAnew(last);
    playHeld();
}

void ClockDriftCorrector::release() {
    for (const Chunk& chunk : held_) fit_.add(chunk.frame, chunk.hostSeconds);
    playHeld();
}

void ClockDriftCorrector::playHeld() {
    for (const Chunk& chunk : std::exchange(held_, {})) play(chunk);
}

void ClockDriftCorrector::play(const Chunk& chunk) {
    if (running_ && chunk.frame != nextFrame_) endRun();
    if (!running_) beginRun(chunk.frame);
    sound_.push(chunk.values);
    nextFrame_ = chunk.frame + framesOf(chunk);

    const double rate = options_.sampleRate;
    const double due = runStart_ + static_cast<double>(runFrames_) / rate;
    const double behind = (fit_.frame(due) - position_) / rate;
    const double step =
        1 / (1 + fit_.drift()) + std::clamp(behind / kCorrectionSeconds, -kLargestCorrection, kLargestCorrection);
    std::vector<float> values;
    values.reserve(chunk.values.size() + 64);
    const auto last = static_cast<double>(sound_.end() - SincResampler::kReach);
    while (position_ < last) {
        sound_.read(position_, values);
        position_ += step;
    }
    sound_.forgetBefore(position_);
    emit(std::move(values));
}

void ClockDriftCorrector::beginRun(std::int64_t frame) {
    running_ = true;
    position_ = static_cast<double>(frame);
    runStart_ = fit_.hostSeconds(position_);
    runFrames_ = 0;
    sound_.restart(frame);
    if (handedOverTo_ && runStart_ < *handedOverTo_) {
        // The new line begins before the old one's end: sound that was passed on stays, and what overlaps it is left
        // out.
        position_ = fit_.frame(*handedOverTo_);
        runStart_ = *handedOverTo_;
    }
}

void ClockDriftCorrector::endRun() {
    if (!running_) return;
    running_ = false;
    std::vector<float> values;
    const auto last = static_cast<double>(sound_.end());
    for (const double step = 1 / (1 + fit_.drift()); position_ < last; position_ += step) {
        sound_.read(position_, values);
    }
    emit(std::move(values));
}

void ClockDriftCorrector::emit(std::vector<float> values) {
    if (values.empty()) return;
    SoundBuffer buffer;
    buffer.hostSeconds = runStart_ + static_cast<double>(runFrames_) / options_.sampleRate;
    buffer.sampleRate = options_.sampleRate;
    buffer.channels = options_.channels;
    buffer.values = std::move(values);
    runFrames_ += static_cast<std::int64_t>(buffer.frames());
    handedOverTo_ = runStart_ + static_cast<double>(runFrames_) / options_.sampleRate;
    output_(std::move(buffer));
}

void ClockDriftCorrector::restart() {
    finish();
    fit_ = ClockDriftEstimator(options_.sampleRate, options_.jitterSeconds);
    arrivals_.clear();
}

void ClockDriftCorrector::finish() {
    if (!held_.empty()) {
        if (fit_.isEmpty()) {
            settle();
        } else {
            release();
        }
    }
    endRun();
}

}  // namespace lumivastor::platform
