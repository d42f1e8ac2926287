// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "media/examination/movie_examination.h"
#include "model/capture_info.h"
#include "model/recording_quality.h"

// Whether a recording is what it was meant to be: a function of what was counted and what was measured.

namespace lumivastor::capture {

/// Where a finding becomes a fault. Each is a few times what recordings on a busy machine show.
struct QualityLimits {
    /// The share of pictures that may be lost because the encoder was busy. More is seen as stutter.
    double lostPictures = 0.005;
    /// Seconds between two pictures. A still screen has one a second; on a busy machine it comes late.
    double gap = 2;
    /// Seconds by which pictures may begin late, and pictures, sound and camera end early.
    double edge = 1;
    /// Seconds by which sound may begin late. On a busy machine a sound server takes up to 1.4 s to deliver.
    double soundStart = 3;
    /// Seconds by which sound may run ahead of its time stamps or lag behind them, before lips look wrong.
    double drift = 0.04;
    /// LUFS below which a microphone is hardly heard, even when it is raised by the 20 dB that an export allows.
    double quietMicrophone = -50;
};

/// What was measured of a recording.
struct MeasuredRecording {
    std::optional<media::MovieExamination> movie;
    std::string movieError;  // a German sentence, when there is no `movie`
    /// For a recording with a webcam.
    std::optional<media::MovieExamination> webcam;
    std::string webcamError;
};

/// Judges a recording. `checkedAt` stays empty.
model::RecordingQuality judge(const model::CaptureInfo& info, const MeasuredRecording& measured,
                              const QualityLimits& limits = {});

}  // namespace lumivastor::capture
