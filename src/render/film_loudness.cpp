// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_loudness.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/recorder_error.h"
#include "media/loudness/loudness_meter.h"
#include "media/reading/asset_reader.h"

namespace lumivastor::render {

namespace {

double factorOf(double decibels) {
    return std::pow(10, decibels / 20);
}

void multiply(std::vector<float>& values, float factor) {
    for (float& value : values) value *= factor;
}

}  // namespace

std::optional<double> levellingFactor(std::optional<double> integratedLufs) {
    if (!integratedLufs || !(*integratedLufs >= kQuietestMix)) return std::nullopt;
    return factorOf(std::min(kFilmLufs - *integratedLufs, kMostGain));
}

std::optional<double> mixLoudness(const media::SegmentedMovie& movie, const SplitMix& mix, const std::stop_token& stop,
                                  const std::function<void(double)>& progress) {
    constexpr double kStep = 0.01;
    const double length = movie.duration().seconds();
    double told = 0;
    media::AssetReader reader(movie);
    const PcmFormat format;
    media::AudioMixOutput& output = reader.addAudioMixOutput(mix.inputs, format);
    media::LoudnessMeter meter(format, media::LoudnessMeter::Figures::integrated);
    if (reader.startReading()) {
        while (auto sample = output.copyNextSample()) {
            if (stop.stop_requested()) throw RecorderError("Abgebrochen.");
            multiply(sample->values, mix.gain);
            meter.add(sample->values);
            const double done = length > 0 ? std::min(1.0, sample->presentationTime.seconds() / length) : 0;
            if (progress && done >= told + kStep) progress(told = done);
        }
    }
    // Sound that ends early in the first pass does so in the second, which reports it.
    return meter.loudness().integrated;
}

LevelledSound::LevelledSound(double factor, const PcmFormat& format)
    : factor_(static_cast<float>(factor)), format_(format), limiter_(format, factorOf(kFilmTruePeak)) {}

std::optional<media::PcmSample> LevelledSound::next(const std::function<std::optional<media::PcmSample>()>& pull) {
    media::PcmSample piece;
    piece.format = format_;
    while (piece.values.empty() && !isFinished_) {
        std::optional<media::PcmSample> sample = pull();
        if (!sample) {
            limiter_.finish(piece.values);
            isFinished_ = true;
            break;
        }
        if (!time_) time_ = sample->presentationTime;
        multiply(sample->values, factor_);
        limiter_.add(sample->values, piece.values);
    }
    if (piece.values.empty()) return std::nullopt;
    piece.presentationTime = time_.value_or(MediaTime{});
    time_ = piece.presentationTime + piece.duration();
    return piece;
}

}  // namespace lumivastor::render
