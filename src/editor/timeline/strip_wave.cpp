// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_wave.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::editor {

namespace {

// The quietest sound that is drawn, in decibels below full scale.
constexpr double kQuietest = 48;
// As in the text of the sliders of volume.
constexpr double kMuted = 0.005;

bool isHeard(const std::shared_ptr<const render::Waveform>& wave) {
    if (wave == nullptr) return false;
    const auto levels = wave->levels();
    return std::any_of(levels.begin(), levels.end(), [](std::uint8_t level) { return level > 0; });
}

}  // namespace

double waveHeight(double peak, double volume) {
    if (!(peak > 0) || isMuted(volume)) return 0;
    return std::clamp(1 + 20 * std::log10(peak * volume) / kQuietest, 0.0, 1.0);
}

bool isMuted(double volume) {
    return !(volume >= kMuted);
}

StripData dataOf(const render::RecordingOverview& overview) {
    return {!overview.pictures.empty(), isHeard(overview.systemSound), isHeard(overview.microphone)};
}

}  // namespace lumivastor::editor
