// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "media/loudness/loudness_meter.h"
#include "media/reading/asset.h"

// What can be measured of a movie file. Nothing is judged here.

namespace lumivastor::media {

/// Of one video track. Times are seconds of the movie.
struct VideoExamination {
    int width = 0, height = 0;
    std::int64_t pictures = 0;  // in the index
    double start = 0, end = 0;
    /// The longest time from one picture to the next, or from the last to the end, and when it begins.
    double longestGap = 0, longestGapStart = 0;
    /// Pictures whose place in the file does not hold what the index says: it lies behind the file's end, or is not
    /// filled by the picture's parts.
    std::int64_t brokenPictures = 0;
    /// Pictures that were decoded, and those among them that could not be.
    std::int64_t decoded = 0, undecodable = 0;
    /// The time of the first of all these.
    std::optional<double> firstDamage;
    /// The median time from one picture to the next, and how far these times are from whole multiples of it, on
    /// average. 0 for fewer than three pictures.
    double typicalInterval = 0, intervalJitter = 0;
};

/// Of one sound track. Times are seconds of the movie.
struct SoundExamination {
    double start = 0, end = 0;
    /// Seconds of sound in the packets less the seconds that their time stamps span.
    double drift = 0;
    /// The longest gap between two packets.
    double longestGap = 0;
    /// The longest stretch in which every value is exactly zero.
    double longestSilence = 0;
    /// Whether that is all of it.
    bool isSilent = true;
    /// Packets that the decoder refused, which are heard as silence.
    std::int64_t damagedPackets = 0;
    std::optional<double> integratedLoudness;  // LUFS
};

struct MovieExamination {
    std::vector<VideoExamination> videos;
    std::vector<SoundExamination> sounds;
    /// Of all sound tracks together at their own volume. Nothing when their rates differ.
    Loudness loudness;
};

struct ExaminationOptions {
    /// Decodes every picture. Otherwise key pictures that are spread over the movie, the first and the last among them.
    bool decodesEveryPicture = false;
    int sampledPictures = 24;
    std::stop_token stop;
    /// Called with 0...1, never falling, on the caller's thread.
    std::function<void(double)> progress;
};

/// Reads a movie from beginning to end: the index of every track, the structure of every picture, all sound, and some
/// pictures. Blocks for seconds. Throws `RecorderError` when the file cannot be read, and with "Abgebrochen." after a
/// stop request. Any thread.
MovieExamination examineMovie(const std::shared_ptr<const Asset>& movie, const ExaminationOptions& options = {});

}  // namespace lumivastor::media
