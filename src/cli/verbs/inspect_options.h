// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

namespace lumivastor::cli {

/// The times that a report of a recording is about.
struct InspectOptions {
    /// Source times, in seconds, at which camera and cursor are sampled.
    std::vector<double> sampleTimes;
    /// Output times, in seconds, to map to source time.
    std::vector<double> outputTimes;
};

}  // namespace lumivastor::cli
