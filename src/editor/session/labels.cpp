// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/labels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/formatted.h"
#include "base/saturated.h"
#include "editor/session/frame_time.h"

namespace lumivastor::editor::labels {

namespace {

// As printf's "%lld" takes it.
long long number(std::int64_t value) {
    return value;
}

long long rounded(double value) {
    return saturatedRound<long long>(value);
}

}  // namespace

std::string trim(const edit::TrimRange& range, std::int64_t fps) {
    return formatted("Bereich: %.3f – %.3f s (Bild %lld – %lld)", range.start, range.end,
                     number(frameNumber(range.start, fps)), number(frameNumber(range.end, fps)));
}

std::string cuts(const std::vector<model::CutRange>& cuts, const std::optional<double>& pendingStart) {
    if (pendingStart) return formatted("Anfang bei %.2f s gesetzt - jetzt Ende wählen", *pendingStart);
    if (cuts.empty()) return "Keine Schnitte";
    std::string text;
    for (const model::CutRange& cut : cuts) {
        if (!text.empty()) text += ", ";
        text += formatted("%.2f–%.2f", cut.start, cut.end);
    }
    return text + " s";
}

std::string time(double seconds, std::int64_t fps) {
    return formatted("%.3f s · Bild %lld", seconds, number(frameNumber(seconds, fps)));
}

std::string zoomPercent(double scale) {
    return formatted("%lld %%", rounded((scale - 1.0) * 100));
}

std::string volume(double value) {
    return formatted("%lld %%", rounded(value * 100)) + (value < 0.005 ? " (stumm)" : "");
}

std::string crop(double fraction) {
    return formatted("%.1f %%", fraction < 0.0005 ? 0.0 : fraction * 100);
}

std::string videoLength(double seconds) {
    if (seconds < 60) return formatted("Video: %.1f s", seconds);
    const long long whole = rounded(seconds);
    return formatted("Video: %lld:%02lld min", whole / 60, whole % 60);
}

std::string percent(double fraction) {
    return formatted("%lld %%", rounded(fraction * 100));
}

std::string magnification(double factor) {
    return formatted("%.1f×", factor);
}

std::string milliseconds(double seconds) {
    const auto count = saturatedRound<long long>(seconds * 1000);
    if (count == 0) return "0 ms";
    return formatted("%s%lld ms", count < 0 ? "−" : "+", std::llabs(count));
}

std::string pixels(double count) {
    return formatted("%lld px", rounded(count));
}

std::string zoomItem(int number, const model::ZoomSpec& zoom) {
    return formatted("Zoom %d: %.1f – %.1f s", number, zoom.start, zoom.end);
}

std::string zoomMode(bool byHand) {
    return byHand ? "von Hand bearbeitet" : "Automatik";
}

std::string pointerNote(const model::CaptureInfo& info) {
    if (!info.pointerKnown) return {};
    switch (*info.pointerKnown) {
        case model::KnownPointer::positions:
            return "Klicks sind nicht bekannt; Zooms folgen den Haltepunkten.";
        case model::KnownPointer::embedded:
            return "Der Mauszeiger ist fest im Bild; Zooms setzt du von Hand.";
        case model::KnownPointer::none:
            break;
    }
    return "Der Mauszeiger fehlt im Bild; Zooms setzt du von Hand.";
}

std::string masks(std::size_t count, bool isDrawing) {
    if (isDrawing) return "Rechteck in der Vorschau aufziehen (Esc bricht ab)";
    if (count == 0) return "Keine Bereiche";
    if (count == 1) return "1 Bereich, gilt fürs ganze Video";
    return formatted("%zu Bereiche, gelten fürs ganze Video", count);
}

std::string rendering(int width, int height) {
    return formatted("Rendere in %d×%d …", width, height);
}

std::string rendering(int width, int height, const std::optional<double>& remaining) {
    const std::string text = rendering(width, height);
    return remaining ? text + " " + remainingTime(*remaining) : text;
}

std::string prepared(double part) {
    if (part >= 1) return "Fertig vorbereitet";
    return part > 0 ? "Zu " + percent(part) + " vorbereitet" : "";
}

std::string rendered(double seconds, std::int64_t zooms, const std::string& fileName) {
    return formatted("Fertig: %.1f s, %lld Zooms – ", seconds, number(zooms)) + fileName;
}

std::string shuttle(int rate) {
    if (rate == 0 || rate == 1) return {};
    return formatted("%s %d×", rate > 0 ? "Vorlauf" : "Rücklauf", std::abs(rate));
}

std::string remainingTime(double seconds) {
    const auto upTo = [seconds](double step) { return saturated<long long>(std::ceil(seconds / step) * step); };
    if (upTo(1) <= 10) return formatted("noch %lld s", std::max(upTo(1), 1LL));
    if (upTo(5) < 60) return formatted("noch %lld s", upTo(5));
    if (upTo(10) < 600) {
        const long long whole = upTo(10);
        return whole % 60 == 0 ? formatted("noch %lld min", whole / 60)
                               : formatted("noch %lld min %lld s", whole / 60, whole % 60);
    }
    const long long minutes = upTo(60) / 60;
    if (minutes < 60) return formatted("noch %lld min", minutes);
    return formatted("noch %lld h %lld min", minutes / 60, minutes % 60);
}

}  // namespace lumivastor::editor::labels
