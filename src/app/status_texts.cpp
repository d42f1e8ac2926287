// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/status_texts.h"

#include <algorithm>

#include "base/formatted.h"

namespace lumivastor::app {

namespace {

long long figure(std::int64_t number) {
    return static_cast<long long>(number);
}

}  // namespace

std::string elapsedText(double seconds) {
    const auto whole = static_cast<long long>(std::clamp(seconds, 0.0, 1e9));
    return formatted("%lld:%02lld", whole / 60, whole % 60);
}

std::string runningText(const capture::Recorder::Stats& stats) {
    return formatted("Läuft: %.1f s · %lld Bilder · %lld verworfen · %lld Zeigerereignisse", stats.duration,
                     figure(stats.framesWritten), figure(stats.framesDropped), figure(stats.pointerEvents));
}

std::string runningText(const capture::DeviceRecorder::Stats& stats, const std::string& deviceName) {
    return formatted("Läuft: %.1f s · %lld Bilder (", stats.duration, figure(stats.framesWritten)) + deviceName + ")";
}

std::string finishedText(const capture::Recorder::Stats& stats, const std::filesystem::path& folder) {
    const std::string dropped = stats.framesDropped > 0 ? std::to_string(stats.framesDropped) + " verworfene Bilder"
                                                        : "keine verworfenen Bilder";
    return formatted("Fertig: %.1f s, %lld Bilder (", stats.duration, figure(stats.framesWritten)) + dropped +
           formatted("), %lld Zeigerereignisse\nOrdner: ", figure(stats.pointerEvents)) + folder.string();
}

std::string finishedText(const capture::DeviceRecorder::Stats& stats) {
    return formatted("Fertig: %.1f s, %lld Bilder", stats.duration, figure(stats.framesWritten));
}

std::string checkVideoText(const render::CursorRenderer::Result& result) {
    return formatted("Prüfvideo fertig: %lld Bilder, %.1f s\n", figure(result.frames), result.seconds) +
           result.url.filename().string() +
           "\n\nBeim Ansehen prüfen: Sitzt der Ring genau auf dem angeklickten\n"
           "Knopf, und knackt der Klick im Ton im selben Moment?";
}

std::string regionText(const Size& points) {
    return formatted("Ausschnitt: %.0f × %.0f Punkte", points.width, points.height);
}

}  // namespace lumivastor::app
