// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "media/writing/video_encoder.h"

namespace lumivastor::media {

/// An encoder that may do a job: what goes into `VideoSettings`.
struct EncoderCandidate {
    VideoCodec codec = VideoCodec::h264;
    std::string encoder;  // FFmpeg's name
    std::string preset;   // empty for hardware, which has no such names

    bool isHardware() const { return preset.empty(); }
    /// Puts the candidate into settings.
    void applyTo(VideoSettings& settings) const;

    bool operator==(const EncoderCandidate&) const = default;
};

/// The size and pace at which pictures have to be encoded.
struct EncodingJob {
    int width = 0;
    int height = 0;
    int frameRate = 60;               // pictures a second that must be kept up with
    std::int64_t averageBitRate = 0;  // bits a second
};

/// How a test encode went.
struct EncoderTrial {
    bool works = false;            // opened, encoded, and decoded again to what was put in
    double picturesPerSecond = 0;  // of pictures in motion, wall-clock, everything else at rest; when it works
};

/// Encodes a few pictures of a moving screen with exactly these settings, decodes them again and compares luma and
/// colours; looks at the stream's profile where the settings want High. Takes between a millisecond (a listed encoder
/// whose hardware is missing) and two seconds. Never throws.
EncoderTrial tryEncoder(const VideoSettings& settings);
/// The same with this candidate, without delay as live pictures are encoded, at the job's size and pace.
EncoderTrial tryEncoder(const EncoderCandidate& candidate, const EncodingJob& job);

}  // namespace lumivastor::media
