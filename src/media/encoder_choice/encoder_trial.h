// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "media/writing/video_encoder.h"

namespace lumivastor::media {

/// An encoder that may do a job, as `VideoSettings` names it.
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
    bool works = false;            // it opened, encoded, and its output decodes to the input
    double picturesPerSecond = 0;  // of moving pictures, by the wall clock on an otherwise idle machine; if it works
};

/// Encodes a few pictures of a moving screen with exactly these settings, decodes them and compares luma and colours;
/// checks the stream's profile if the settings require High. Takes from a millisecond (a listed encoder whose hardware
/// is missing) to two seconds. Never throws.
EncoderTrial tryEncoder(const VideoSettings& settings);
/// The same with this candidate, at the job's size and rate, with low latency as for live pictures.
EncoderTrial tryEncoder(const EncoderCandidate& candidate, const EncodingJob& job);

}  // namespace lumivastor::media
