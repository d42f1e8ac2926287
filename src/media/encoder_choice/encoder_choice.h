// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "media/encoder_choice/encoder_trial.h"
#include "media/writing/video_encoder.h"

namespace lumivastor::media {

/// Tries an encoder for `decideRecordingEncoder`: `tryEncoder`, or a test's replacement.
using EncoderTrials = std::function<EncoderTrial(const EncoderCandidate&, const EncodingJob&)>;

/// The chosen candidate, with the reason as a German sentence for the log and for diagnosis.
struct EncoderChoice {
    EncoderCandidate candidate;
    std::string reason;
    PictureEncoderMaker make{};  // see `VideoSettings::make`

    /// Puts the choice into settings.
    void applyTo(VideoSettings& settings) const;
};

/// Software HEVC is chosen when its trial is this many times faster than the job needs. The trial has the machine to
/// itself. A recording shares it with capture, colour conversion, the sound encoder, and above all with the programs on
/// the screen, and must keep up for hours. Half the machine is left to those.
inline constexpr double kSoftwareHevcHeadroom = 2.0;

/// The rule for recordings: the first hardware HEVC encoder of `hardware` that works and keeps up, else software HEVC
/// when it keeps up with headroom, else H.264 at its fastest. A pure function of the trials' results; makes no more
/// trials than it needs.
EncoderChoice decideRecordingEncoder(const EncodingJob& job, const std::vector<EncoderCandidate>& hardware,
                                     const EncoderTrials& trials);

/// The rule for exports, which may take their time: the first hardware H.264 encoder of `hardware` that works, else
/// software.
EncoderChoice decideExportEncoder(const std::vector<EncoderCandidate>& hardware,
                                  const std::function<bool(const EncoderCandidate&)>& works);

/// Software, without a trial; `why` there is no hardware, as a German clause.
EncoderChoice softwareExportEncoder(const std::string& why);

/// The hardware encoders for a codec that FFmpeg lists on this machine, the most likely to work first. A listed encoder
/// need not work.
std::vector<EncoderCandidate> listedHardwareEncoders(VideoCodec codec);

/// The decision for this machine, from real trials. The speed of software is measured once for similar sizes and
/// remembered in the text file at `memory` as long as library and processors stay the same; with an empty path, or one
/// that cannot be written, it is measured again. Hardware is tried every time. Blocks for up to three seconds. Any
/// thread; calls run one after the other.
EncoderChoice chooseRecordingEncoder(const EncodingJob& job, const std::filesystem::path& memory);

/// The decision for an export with these settings; a trial uses them unchanged except for the encoder. May take two
/// seconds for each encoder tried.
EncoderChoice chooseExportEncoder(const VideoSettings& settings, const std::vector<EncoderCandidate>& hardware =
                                                                     listedHardwareEncoders(VideoCodec::h264));

}  // namespace lumivastor::media
