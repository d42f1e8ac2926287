// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "media/encoder_choice/encoder_trial.h"
#include "media/writing/video_encoder.h"

namespace lumivastor::media {

/// What the choice for recordings asks trials of; `tryEncoder` unless a test has other plans.
using EncoderTrials = std::function<EncoderTrial(const EncoderCandidate&, const EncodingJob&)>;

/// The candidate chosen, and why in a German sentence for log and diagnosis.
struct EncoderChoice {
    EncoderCandidate candidate;
    std::string reason;
    PictureEncoderMaker make{};  // see `VideoSettings::make`

    /// Puts the choice into settings.
    void applyTo(VideoSettings& settings) const;
};

/// Software HEVC is chosen when its trial is this many times faster than the job needs. The trial has the machine to
/// itself; a recording shares it with the capture of pictures, their conversion, the encoder of sound, and above all
/// with whatever is being shown on the screen, and must not fall behind for hours. Half the machine is left to those.
inline constexpr double kSoftwareHevcHeadroom = 2.0;

/// The rule for recordings: the first hardware HEVC encoder of `hardware` that works and keeps up, else software HEVC
/// when it keeps up with headroom, else H.264 at its fastest. A pure function of the trials' results; asks no more of
/// them than it needs.
EncoderChoice decideRecordingEncoder(const EncodingJob& job, const std::vector<EncoderCandidate>& hardware,
                                     const EncoderTrials& trials);

/// The rule for exports, which may take their time: the first hardware H.264 encoder of `hardware` that works, else
/// software.
EncoderChoice decideExportEncoder(const std::vector<EncoderCandidate>& hardware,
                                  const std::function<bool(const EncoderCandidate&)>& works);

/// Software, without a trial; `why` there is no hardware, as a German clause.
EncoderChoice softwareExportEncoder(const std::string& why);

/// The hardware encoders for a codec that FFmpeg lists on this machine, the likeliest first. A listed encoder is not a
/// working one.
std::vector<EncoderCandidate> listedHardwareEncoders(VideoCodec codec);

/// The decision for this machine, on real trials. How fast software encodes is measured once for sizes alike and
/// remembered in the text file at `memory`, as long as library and processors stay the same; an empty path, or one that
/// cannot be written, measures again. Hardware is tried every time. May take three seconds; not on a thread that must
/// not wait. Any threads: one waits for the other.
EncoderChoice chooseRecordingEncoder(const EncodingJob& job, const std::filesystem::path& memory);

/// The decision for an export with these settings; a trial encodes with them as they are, but for the encoder. May take
/// two seconds for each encoder tried.
EncoderChoice chooseExportEncoder(const VideoSettings& settings, const std::vector<EncoderCandidate>& hardware =
                                                                     listedHardwareEncoders(VideoCodec::h264));

}  // namespace lumivastor::media
