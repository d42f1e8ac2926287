// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <vector>

#include "base/media_time.h"
#include "media/loudness/true_peak_limiter.h"
#include "media/reading/samples.h"
#include "media/reading/segmented_movie.h"
#include "render/export_plan.h"

// "Lautheit angleichen": a film as loud as others. A first pass over the sound alone measures the mix as it will be
// exported; the second applies one factor to all of it, and a limiter to the peaks that then are too high. So nothing
// changes between loud and quiet passages of a film.

namespace lumivastor::render {

/// What films are brought to: the loudness of speech on the web, with room for what an AAC encoder adds to peaks.
inline constexpr double kFilmLufs = -16;
inline constexpr double kFilmTruePeak = -1;  // dBTP
/// Nothing is raised further, in dB: noise would be raised with it.
inline constexpr double kMostGain = 20;
/// LUFS below which a mix is silence with noise, and stays as it is.
inline constexpr double kQuietestMix = -50;

/// The factor that brings a mix of this loudness to `kFilmLufs`; nullopt for a mix that stays as it is.
std::optional<double> levellingFactor(std::optional<double> integratedLufs);

/// The integrated loudness of a mix in LUFS, before anything is limited; nullopt when nothing is loud enough to count.
/// Decodes all of its sound, up to where it cannot be read. Throws `RecorderError` "Abgebrochen." after a stop request.
/// `progress` is called with what is done, 0 to 1, a hundred times at most; ascending.
std::optional<double> mixLoudness(const media::SegmentedMovie& movie, const SplitMix& mix, const std::stop_token& stop,
                                  const std::function<void(double)>& progress = nullptr);
/// How much of an export's time the first pass takes, roughly; it is the first part of the progress.
inline constexpr double kLoudnessShare = 0.02;

/// Sound on its way into a levelled film, piece by piece. One thread at a time.
class LevelledSound {
  public:
    /// Every value is multiplied by `factor` before it is limited.
    LevelledSound(double factor, const PcmFormat& format);

    /// The next piece. `pull` returns the pieces of the mix, which follow each other without gaps, then nullopt. Every
    /// frame keeps its time. nullopt at the end.
    std::optional<media::PcmSample> next(const std::function<std::optional<media::PcmSample>()>& pull);

  private:
    const float factor_;
    const PcmFormat format_;
    media::TruePeakLimiter limiter_;
    std::optional<MediaTime> time_;  // of the next piece
    bool isFinished_ = false;
};

}  // namespace lumivastor::render
