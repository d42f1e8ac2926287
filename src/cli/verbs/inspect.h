// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <vector>

#include "edit/composition.h"

// Reports of what the edit model derives from a recording, for users and for programs.

namespace lumivastor::cli {

struct InspectOptions {
    /// Source times, in seconds, at which camera and cursor are sampled.
    std::vector<double> sampleTimes;
    /// Output times, in seconds, to map to source time.
    std::vector<double> outputTimes;
};

/// One JSON document; throws `RecorderError` when a derived number is not finite.
void writeInspection(const edit::Composition& composition, const InspectOptions& options, std::ostream& out);

/// A German report: key figures, tables of kept segments and zooms, and the zoom curve as a plot of characters.
void printInspection(const edit::Composition& composition, const InspectOptions& options, std::ostream& out);

}  // namespace lumivastor::cli
