// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/recording.h"

#include <cmath>
#include <utility>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "edit/cursor_engine.h"
#include "edit/pointer_rests.h"
#include "imaging/picture_limits.h"
#include "model/marks.h"
#include "model/recording_folder.h"

namespace lumivastor::edit {

namespace {

// Thirty years of seconds, a billion pixels, fractions of a million pictures: far outside of anything real, and still
// so small that sums, differences and products of a few of them stay exact enough for the engines.
constexpr double kMaxTime = 1e9;
constexpr double kMaxPosition = 1e9;
constexpr double kMaxFraction = 1e6;
// Far beyond the editor's 3, and still a camera that a painter can follow.
constexpr double kMaxScale = 1000;

bool within(double value, double limit) {
    return std::abs(value) <= limit;
}

void checkCapture(const model::CaptureInfo& info) {
    if (info.pixelWidth < 1 || info.pixelHeight < 1) throw RecorderError("Die Aufnahme enthält kein Bild.");
    if (!imaging::isDecodablePictureSize(info.pixelWidth, info.pixelHeight)) {
        throw RecorderError(formatted(
            "Die Bildgröße der Aufnahme ist unzulässig: %lld×%lld Pixel. Möglich sind höchstens %lld in jeder Richtung "
            "und %lld Millionen im Ganzen.",
            static_cast<long long>(info.pixelWidth), static_cast<long long>(info.pixelHeight),
            static_cast<long long>(imaging::kMaxPictureEdge),
            static_cast<long long>(imaging::kMaxPictureArea / 1'000'000)));
    }
    if (info.duration < -CursorEngine::kMaxDuration) {
        throw RecorderError("Die Länge der Aufnahme ist unzulässig.");
    }
    if (!(info.duration <= CursorEngine::kMaxDuration)) {
        throw RecorderError(formatted("Die Aufnahme ist mit %.0f s länger, als bearbeitet werden kann (%.0f s).",
                                      info.duration, CursorEngine::kMaxDuration));
    }
    if (!within(info.webcamOffset.value_or(0), kMaxTime)) {
        throw RecorderError("Die Zeitangabe der Webcam liegt außerhalb jeder Aufnahme.");
    }
}

void checkTrack(const model::PointerTrack& track) {
    for (const model::PointerSample& event : track.events) {
        if (!within(event.t, kMaxTime)) {
            throw RecorderError("Ein Mausereignis hat eine Zeit, die in keiner Aufnahme vorkommen kann.");
        }
        if (!within(event.px, kMaxPosition) || !within(event.py, kMaxPosition)) {
            throw RecorderError("Ein Mausereignis liegt weit außerhalb jedes Bildschirms.");
        }
    }
}

}  // namespace

Recording::Recording(std::filesystem::path recordingFolder, model::CaptureInfo captureInfo,
                     model::PointerTrack pointerTrack)
    : folder(std::move(recordingFolder)), info(std::move(captureInfo)), track(std::move(pointerTrack)) {
    checkCapture(info);
    checkTrack(track);
    if (knowsPositions()) {
        for (const model::PointerSample& event : track.events) {
            if (event.kind == model::PointerKind::down) presses.push_back(event);
        }
        if (!info.knowsClicks()) rests = pointerRests(track, info.duration, static_cast<double>(info.pixelWidth));
    }
    if (info.webcamFile) webcamFile = model::fileInside(folder, *info.webcamFile).value_or(std::filesystem::path());
}

Recording Recording::load(const std::filesystem::path& folder) {
    model::CaptureInfo info = model::CaptureInfo::load(folder);
    model::PointerTrack track = model::PointerTrack::load(folder);
    Recording recording(folder, std::move(info), std::move(track));
    recording.marks = model::Marks::timesIn(folder);
    return recording;
}

void checkZooms(const model::ProjectSettings& settings) {
    if (!within(settings.zoomScale, kMaxScale)) throw RecorderError("Die Vergrößerung der Zooms ist unzulässig.");
    if (!settings.zooms) return;
    for (const model::ZoomSpec& zoom : *settings.zooms) {
        if (zoom.focus.empty()) {
            throw RecorderError(formatted("Der Zoom bei %.2f s hat keinen Zielpunkt.", zoom.start));
        }
        bool plausible = within(zoom.start, kMaxTime) && within(zoom.end, kMaxTime) && within(zoom.scale, kMaxScale);
        for (const model::FocusKey& key : zoom.focus) {
            plausible =
                plausible && within(key.t, kMaxTime) && within(key.x, kMaxFraction) && within(key.y, kMaxFraction);
        }
        if (!plausible) {
            throw RecorderError("Ein Zoom hat Werte, die in keiner Aufnahme vorkommen können.");
        }
    }
}

void checkMasks(const model::ProjectSettings& settings) {
    if (settings.masks.size() <= kMaximumMasks) return;
    throw RecorderError(formatted("Das Projekt verpixelt %zu Bereiche; mehr als %zu können nicht gezeichnet werden.",
                                  settings.masks.size(), kMaximumMasks));
}

}  // namespace lumivastor::edit
