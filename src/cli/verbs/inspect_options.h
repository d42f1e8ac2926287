// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "model/recording_quality.h"

namespace lumivastor::cli {

/// What a report of a recording is about, besides the recording.
struct InspectOptions {
    /// Source times, in seconds, at which camera and cursor are sampled.
    std::vector<double> sampleTimes;
    /// Output times, in seconds, to map to source time.
    std::vector<double> outputTimes;
    /// What the last check of the recording found.
    std::optional<model::RecordingQuality> quality = std::nullopt;
};

}  // namespace lumivastor::cli
