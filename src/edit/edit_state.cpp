// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/edit_state.h"

#include <algorithm>
#include <utility>

namespace lumivastor::edit {

ZoomEngine::Parameters zoomParameters(const model::ProjectSettings& settings) {
    const double pace = model::factor(settings.tempo);
    ZoomEngine::Parameters parameters;
    parameters.scale = settings.zoomScale;
    parameters.zoomInDuration *= pace;
    parameters.zoomOutDuration *= pace;
    parameters.panDuration *= pace;
    return parameters;
}

std::shared_ptr<const EditState> deriveEditState(const Recording& recording, const model::ProjectSettings& settings,
                                                 PixelSize canvas, const EditState* previous) {
    checkZooms(settings);
    checkMasks(settings);
    const model::CaptureInfo& info = recording.info;
    const auto width = static_cast<double>(info.pixelWidth);
    const auto height = static_cast<double>(info.pixelHeight);

    auto state = std::make_shared<EditState>();
    state->settings = settings;
    state->trim = effectiveTrim(settings, info.duration);
    state->keptSegments = keptSegments(state->trim, settings.cuts);
    state->outputDuration = outputDuration(state->keptSegments);
    state->layout = layOutStudio(info, settings, canvas, recording.hasWebcam());

    if (previous != nullptr && previous->settings.smoothing == settings.smoothing) {
        state->cursorEngine = previous->cursorEngine;
    } else {
        state->cursorEngine =
            std::make_shared<const CursorEngine>(recording.track.events, info.duration, settings.smoothing);
    }

    std::copy_if(recording.presses.begin(), recording.presses.end(), std::back_inserter(state->clicks),
                 [&](const model::PointerSample& press) {
                     return state->layout.cropRect.containsOrTouches({press.px, press.py});
                 });

    const ZoomEngine::Parameters parameters = zoomParameters(settings);
    state->zoomSpecs =
        settings.zooms ? *settings.zooms : ZoomEngine::autoSpecs(state->clicks, width, height, parameters);
    std::stable_sort(state->zoomSpecs.begin(), state->zoomSpecs.end(),
                     [](const model::ZoomSpec& a, const model::ZoomSpec& b) { return a.start < b.start; });
    state->zoomEngine = std::make_shared<const ZoomEngine>(state->zoomSpecs, width, height, parameters);
    return state;
}

const std::string* cursorShapeAt(const std::vector<model::CursorChange>& changes, double t) {
    if (changes.empty()) return nullptr;
    const auto later = std::upper_bound(changes.begin(), changes.end(), t,
                                        [](double time, const model::CursorChange& change) { return time < change.t; });
    return later == changes.begin() ? &changes.front().id : &std::prev(later)->id;
}

}  // namespace lumivastor::edit
