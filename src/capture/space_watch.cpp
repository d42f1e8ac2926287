// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/space_watch.h"

#include <algorithm>
#include <cmath>

#include "base/formatted.h"

namespace lumivastor::capture {

namespace {

// What moves on a screen changes from one moment to the next: the rate of the recent past is that of half a minute.
constexpr double kRecent = 30;

double rateBetween(const RecordingHealth& before, const RecordingHealth& now) {
    const double seconds = now.seconds - before.seconds;
    if (seconds <= 0 || now.bytes <= before.bytes) return 0;
    return static_cast<double>(now.bytes - before.bytes) / seconds;
}

}  // namespace

void SpaceWatch::update(const RecordingHealth& health) {
    health_ = health;
    if (health.seconds - recent_.seconds >= kRecent) {
        recentRate_ = rateBetween(recent_, health);
        recent_ = health;
    }
    const auto left = secondsLeft();
    if (!left || *left >= (minutes_ ? kMinutes + 1 : kMinutes) * 60) {
        minutes_.reset();
        return;
    }
    const int now = static_cast<int>(std::floor(*left / 60));
    // An estimate sways: it says less as soon as there is less, and more only when it is clearly more.
    if (!minutes_ || now < *minutes_ || now > *minutes_ + 1) minutes_ = now;
}

// By the higher rate of the whole recording and of its recent past.
std::optional<double> SpaceWatch::secondsLeft() const {
    if (!health_.usableBytes || health_.seconds < kMeasured) return std::nullopt;
    const double rate = std::max(rateBetween({}, health_), recentRate_);
    if (rate <= 0) return std::nullopt;
    return static_cast<double>(*health_.usableBytes) / rate;
}

std::string SpaceWatch::sentence() const {
    if (!minutes_) return {};
    if (*minutes_ < 1) return "Der Platz reicht für weniger als eine Minute, dann endet die Aufnahme.";
    if (*minutes_ == 1) return "Noch Platz für etwa eine Minute.";
    return formatted("Noch Platz für etwa %d Minuten.", *minutes_);
}

}  // namespace lumivastor::capture
