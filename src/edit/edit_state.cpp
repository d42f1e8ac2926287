// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/edit_state.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace lumivastor::edit {

namespace {

std::vector<model::PointerSample> insideCrop(const std::vector<model::PointerSample>& samples,
                                             const StudioLayout& layout) {
    std::vector<model::PointerSample> inside;
    std::copy_if(samples.begin(), samples.end(), std::back_inserter(inside), [&](const model::PointerSample& sample) {
        return layout.cropRect.containsOrTouches({sample.px, sample.py});
    });
    return inside;
}

// Some clicks may be known although others are not: those of one of two devices.
std::vector<model::PointerSample> restsAndPresses(const Recording& recording) {
    std::vector<model::PointerSample> all;
    std::merge(recording.rests.begin(), recording.rests.end(), recording.presses.begin(), recording.presses.end(),
               std::back_inserter(all),
               [](const model::PointerSample& a, const model::PointerSample& b) { return a.t < b.t; });
    return all;
}

}  // namespace

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
        static const std::vector<model::PointerSample> kNowhere;
        state->cursorEngine = std::make_shared<const CursorEngine>(
            recording.knowsPositions() ? recording.track.events : kNowhere, info.duration, settings.smoothing);
    }

    state->clicks = insideCrop(recording.presses, state->layout);
    std::copy_if(recording.marks.begin(), recording.marks.end(), std::back_inserter(state->marks),
                 [&](double t) { return outputTime(state->keptSegments, t).has_value(); });

    const ZoomEngine::Parameters parameters = zoomParameters(settings);
    if (settings.zooms) {
        state->zoomSpecs = *settings.zooms;
    } else if (info.knowsClicks()) {
        state->zoomSpecs = ZoomEngine::autoSpecs(state->clicks, width, height, parameters);
    } else {
        const auto places = insideCrop(restsAndPresses(recording), state->layout);
        state->zoomSpecs = ZoomEngine::specsAround(places, width, height, parameters);
    }
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
