// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/microphone_remarks.h"

#include <algorithm>

#include "base/formatted.h"

namespace lumivastor::capture {

namespace {

using platform::MicrophoneTrouble;

// "Mikrofon „Headset“", or "Mikrofon" where its name is not known.
std::string named(const std::string& device) {
    return device.empty() ? "Mikrofon" : "Mikrofon „" + device + "“";
}

std::string past(MicrophoneTrouble trouble, const std::string& device) {
    switch (trouble) {
        case MicrophoneTrouble::none:
            break;
        case MicrophoneTrouble::muted:
            return "Das " + named(device) + " war stumm geschaltet";
        case MicrophoneTrouble::monitor:
            return "Statt eines Mikrofons wurde aufgenommen, was der Rechner abspielt";
        case MicrophoneTrouble::replaced:
            return "Statt des gewählten Mikrofons wurde „" + device + "“ aufgenommen";
        case MicrophoneTrouble::noSignal:
            return "Vom " + named(device) + " kam kein Signal";
        case MicrophoneTrouble::onlyNoise:
            return "Vom " + named(device) + " kam nur Rauschen";
        case MicrophoneTrouble::clipping:
            return "Das " + named(device) + " war übersteuert";
    }
    return {};
}

// Silence is known only after it has lasted this long.
double knownAfter(MicrophoneTrouble trouble) {
    switch (trouble) {
        case MicrophoneTrouble::noSignal:
        case MicrophoneTrouble::onlyNoise:
            return platform::MicrophoneWatch::kQuietSeconds;
        case MicrophoneTrouble::clipping:
            return platform::MicrophoneWatch::kClipSeconds;
        default:
            return 0;
    }
}

}  // namespace

std::string microphoneHint(const platform::MicrophoneReport& report) {
    switch (report.trouble) {
        case MicrophoneTrouble::none:
            break;
        case MicrophoneTrouble::muted:
            return "Das " + named(report.device) + " ist stumm geschaltet.";
        case MicrophoneTrouble::monitor:
            return "Aufgenommen wird kein Mikrofon, sondern was der Rechner abspielt.";
        case MicrophoneTrouble::replaced:
            return "Das gewählte Mikrofon fehlt; aufgenommen wird „" + report.device + "“.";
        case MicrophoneTrouble::noSignal:
            return "Vom " + named(report.device) + " kommt kein Signal.";
        case MicrophoneTrouble::onlyNoise:
            return "Vom " + named(report.device) + " kommt nur Rauschen.";
        case MicrophoneTrouble::clipping:
            return "Das " + named(report.device) + " ist übersteuert: leiser stellen.";
    }
    return {};
}

std::optional<std::string> MicrophoneRemarks::take(const platform::MicrophoneReport& report, double at) {
    if (present_ != MicrophoneTrouble::none) troubles_[present_].seconds += std::max(0.0, at - takenAt_);
    takenAt_ = at;
    hint_ = microphoneHint(report);
    const bool begins = report.trouble != present_;
    present_ = report.trouble;
    if (!begins || report.trouble == MicrophoneTrouble::none) return std::nullopt;
    const double from = std::max(0.0, at - knownAfter(report.trouble));
    const auto [trouble, isNew] = troubles_.try_emplace(report.trouble, Trouble{report.device, from, 0});
    trouble->second.seconds += at - from;
    return isNew ? std::optional(hint_) : std::nullopt;
}

std::string MicrophoneRemarks::summary() const {
    std::string lines;
    for (const auto& [kind, trouble] : troubles_) {
        const auto from = static_cast<int>(trouble.from);
        lines += (lines.empty() ? "" : "\n") + past(kind, trouble.device) +
                 formatted(" (ab %d:%02d, %.0f s lang).", from / 60, from % 60, std::max(1.0, trouble.seconds));
    }
    return lines;
}

}  // namespace lumivastor::capture
