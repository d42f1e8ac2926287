// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pauses/pauses.h"

#include <algorithm>

namespace lumivastor::capture {

void Pauses::begin(double hostSeconds, bool isByPointer) {
    if (isPaused()) return;
    const double earliest = list_.empty() ? hostSeconds : *list_.back().to;
    list_.push_back({std::max(hostSeconds, earliest), std::nullopt, isByPointer});
}

void Pauses::end(double hostSeconds) {
    if (isPaused()) list_.back().to = std::max(hostSeconds, list_.back().from);
}

std::optional<double> Pauses::movieTime(double hostSeconds) const {
    double left = 0;
    for (const Pause& each : list_) {
        if (hostSeconds < each.from) break;
        if (!each.to || hostSeconds < *each.to) return std::nullopt;
        left += *each.to - each.from;
    }
    return hostSeconds - left;
}

double Pauses::nearestMovieTime(double hostSeconds) const {
    double left = 0;
    for (const Pause& each : list_) {
        if (hostSeconds < each.from) break;
        if (!each.to || hostSeconds < *each.to) return each.from - left;
        left += *each.to - each.from;
    }
    return hostSeconds - left;
}

double Pauses::hostTime(double movieSeconds) const {
    double left = 0;
    for (const Pause& each : list_) {
        if (movieSeconds < each.from - left) break;
        if (!each.to) return each.from;
        left += *each.to - each.from;
    }
    return movieSeconds + left;
}

}  // namespace lumivastor::capture
