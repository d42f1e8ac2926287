// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "editor/timeline/strip_lanes.h"
#include "render/overview/recording_overview.h"

// What the strip's lanes of sound show.

namespace lumivastor::editor {

/// The height of a peak (0 to 1, linear) that is heard with a volume: 0 to 1, in decibels down to the quietest that is
/// drawn. What is muted is 0.
double waveHeight(double peak, double volume);

/// Whether a volume silences its track, as its label says.
bool isMuted(double volume);

/// What of a complete overview there is to show. Sound that is silence from its beginning to its end has no lane.
StripData dataOf(const render::RecordingOverview& overview);

}  // namespace lumivastor::editor
