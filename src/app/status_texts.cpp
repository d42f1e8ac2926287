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

std::string runningText(const capture::RecordingJob::Stats& stats, const std::optional<std::string>& deviceName) {
    std::string text = formatted("Läuft: %.1f s · %lld Bilder", stats.duration, figure(stats.framesWritten));
    if (stats.framesDropped) text += formatted(" · %lld verworfen", figure(*stats.framesDropped));
    if (stats.pointerEvents) text += formatted(" · %lld Zeigerereignisse", figure(*stats.pointerEvents));
    if (deviceName) text += " (" + *deviceName + ")";
    return text;
}

std::string pausedText(const capture::RecordingJob::Stats& stats) {
    return formatted("Pause bei %.1f s", stats.duration);
}

std::string finishedText(const capture::RecordingJob::Stats& stats, const std::filesystem::path& folder) {
    const std::string text = formatted("Fertig: %.1f s, %lld Bilder", stats.duration, figure(stats.framesWritten));
    if (!stats.framesDropped || !stats.pointerEvents) return text;
    const std::string dropped = *stats.framesDropped > 0 ? std::to_string(*stats.framesDropped) + " verworfene Bilder"
                                                         : "keine verworfenen Bilder";
    return text + " (" + dropped + formatted("), %lld Zeigerereignisse\nOrdner: ", figure(*stats.pointerEvents)) +
           folder.string();
}

std::string checkVideoText(const render::CursorRenderer::Result& result) {
    return formatted("Prüfvideo fertig: %lld Bilder, %.1f s\n", figure(result.frames), result.seconds) +
           result.url.filename().string() +
           "\n\nBeim Ansehen prüfen: Sitzt der Ring genau auf dem angeklickten\n"
           "Knopf, und knackt der Klick im Ton im selben Moment?";
}

std::string stopWaysText(bool hasStatusItem, const std::optional<std::string>& keys) {
    std::string text = "Während der Aufnahme ist dieses Fenster weg. So stoppst du sie:";
    if (hasStatusItem) text += "\n•  Symbol in der Leiste";
    if (keys) text += "\n•  " + *keys;
    return text + "\n•  Freigabe-Anzeige des Desktops\n•  LumiVastor noch einmal starten, oder „lumivastor stop“";
}

std::string regionText(const Size& points) {
    return formatted("Ausschnitt: %.0f × %.0f Punkte", points.width, points.height);
}

}  // namespace lumivastor::app
