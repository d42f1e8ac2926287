// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/loudness/true_peak_limiter.h"

#include <algorithm>
#include <cmath>

#include "base/precondition.h"
#include "media/loudness/peaks_between.h"

namespace lumivastor::media {

namespace {

constexpr auto kSide = static_cast<std::int64_t>(kPeakSide);

// 0.35 dB. A meter with another filter, and the changing factor itself, find peaks beyond the ceiling: 0.26 dB in white
// noise that is limited all the time, hundredths in anything else.
constexpr double kMargin = 0.9605;

}  // namespace

TruePeakLimiter::TruePeakLimiter(const PcmFormat& format, double ceiling)
    : channels_(static_cast<std::size_t>(format.channels)),
      ceiling_(static_cast<float>(ceiling * kMargin)),
      lookAhead_(std::max<std::int64_t>(std::llround(kLookAheadSeconds * format.sampleRate), 1)),
      release_(static_cast<float>(1 - std::exp(-1 / (kReleaseSeconds * format.sampleRate)))),
      frames_((kSide - 1) * channels_, 0.0F),
      first_(-(kSide - 1)),
      recent_(static_cast<std::size_t>(lookAhead_) + 1, 1.0F),
      sum_(static_cast<double>(recent_.size())) {
    precondition(format.channels > 0 && format.sampleRate > 0 && ceiling > 0, "a format and a ceiling");
}

float TruePeakLimiter::value(std::int64_t frame, std::size_t channel) const {
    return frames_[static_cast<std::size_t>(frame - first_) * channels_ + channel];
}

// Between the frames from the last measured one up to `end`. Most blocks are so quiet that none can reach the ceiling.
void TruePeakLimiter::findPeaks(std::int64_t end) {
    constexpr std::size_t kBlock = 64;
    const auto count = static_cast<std::size_t>(end - measured_);
    behind_.assign(count, 0.0F);
    for (std::size_t at = 0; at < count; at += kBlock) {
        const std::size_t size = std::min(kBlock, count - at);
        const std::size_t frames = size + kPeakTaps - 1;
        const std::int64_t from = measured_ + static_cast<std::int64_t>(at) - (kSide - 1);
        const std::span<const float> around =
            std::span(frames_).subspan(static_cast<std::size_t>(from - first_) * channels_, frames * channels_);
        float largest = 0;
        for (const float each : around) largest = std::max(largest, std::abs(each));
        if (largest * mostBetween() <= ceiling_) continue;
        channel_.resize(frames);
        found_.resize(size);
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            for (std::size_t i = 0; i < frames; ++i) channel_[i] = around[i * channels_ + channel];
            findPeaksBetween(channel_, found_);
            for (std::size_t i = 0; i < size; ++i) behind_[at + i] = std::max(behind_[at + i], found_[i]);
        }
    }
}

void TruePeakLimiter::measure(std::int64_t frame, std::vector<float>& limited) {
    const float behind = behind_[static_cast<std::size_t>(frame - measured_)];
    float peak = std::max(peakBefore_, behind);
    peakBefore_ = behind;
    for (std::size_t channel = 0; channel < channels_; ++channel)
        peak = std::max(peak, std::abs(value(frame, channel)));
    const float needed = peak > ceiling_ ? ceiling_ / peak : 1.0F;

    // The least factor of the frames from `out` up to this one. The mean of as many of such minima is never above what
    // any of these frames needs, and it begins to fall before the peak.
    while (!least_.empty() && least_.back().second >= needed) least_.pop_back();
    least_.emplace_back(frame, needed);
    const std::int64_t out = frame - lookAhead_;
    while (least_.front().first < out) least_.pop_front();
    const float least = least_.front().second;
    released_ = least < released_ ? least : released_ + (least - released_) * release_;
    sum_ += static_cast<double>(released_) - static_cast<double>(recent_[oldest_]);
    recent_[oldest_] = released_;
    oldest_ = (oldest_ + 1) % recent_.size();
    if (out < 0) return;
    const auto factor = static_cast<float>(sum_ / static_cast<double>(recent_.size()));
    for (std::size_t channel = 0; channel < channels_; ++channel) limited.push_back(value(out, channel) * factor);
}

void TruePeakLimiter::add(std::span<const float> values, std::vector<float>& limited) {
    precondition(values.size() % channels_ == 0, "whole frames");
    std::transform(values.begin(), values.end(), std::back_inserter(frames_),
                   [](float each) { return std::isfinite(each) ? each : 0.0F; });
    given_ += static_cast<std::int64_t>(values.size() / channels_);
    const std::int64_t end = given_ - kSide;  // frames before this have all that lies around them
    if (end <= measured_) return;

    findPeaks(end);
    const std::int64_t before = measured_;
    for (std::int64_t frame = before; frame < end; ++frame) measure(frame, limited);
    measured_ = end;

    // Of what has gone out, only what lies before the next frame to measure or to put out is needed.
    const std::int64_t needed = std::max(measured_ - std::max<std::int64_t>(lookAhead_, kSide) - kSide, first_);
    frames_.erase(frames_.begin(),
                  frames_.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(needed - first_) * channels_));
    first_ = needed;
}

void TruePeakLimiter::finish(std::vector<float>& limited) {
    const std::vector<float> rest(static_cast<std::size_t>(lookAhead_ + kSide) * channels_, 0.0F);
    add(rest, limited);
}

}  // namespace lumivastor::media
