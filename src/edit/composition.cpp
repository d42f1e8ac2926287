// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/composition.h"

#include <utility>

#include "base/formatted.h"
#include "base/log.h"
#include "base/precondition.h"
#include "edit/timeline.h"

namespace lumivastor::edit {

Composition::Composition(const std::filesystem::path& folder, int canvasWidth, int canvasHeight)
    : canvas_{canvasWidth, canvasHeight},
      recording_(std::make_shared<const Recording>(Recording::load(folder))),
      cursorAssets_(loadCursorAssets(folder, recording_->track.cursorImages)) {
    precondition(canvasWidth >= 1 && canvasHeight >= 1, "a canvas has an area");
    rebuild(model::ProjectSettings::load(folder), nullptr);
    if (!info().knowsPositions() && !settings().zooms) {
        Log::write("Studio", "Keine Zooms vorgeschlagen: Wo der Zeiger war, ist nicht bekannt");
    } else if (!info().knowsClicks() && !settings().zooms) {
        Log::write(
            "Studio",
            formatted("%d Zooms nach Haltepunkten des Zeigers vorgeschlagen: Klicks sind nicht bekannt", zoomCount()));
    }
}

Composition::Composition(const Composition& other, const model::ProjectSettings& settings, int canvasWidth,
                         int canvasHeight)
    : canvas_{canvasWidth, canvasHeight}, recording_(other.recording_), cursorAssets_(other.cursorAssets_) {
    precondition(canvasWidth >= 1 && canvasHeight >= 1, "a canvas has an area");
    rebuild(settings, other.state().get());
}

std::shared_ptr<Composition::Shown> Composition::shown() const {
    const std::lock_guard hold(stateLock_);
    return shown_;
}

std::shared_ptr<const EditState> Composition::state() const {
    return shown()->state;
}

void Composition::setSettings(const model::ProjectSettings& settings) {
    const auto previous = state();
    if (settings != previous->settings) rebuild(settings, previous.get());
}

void Composition::rebuild(const model::ProjectSettings& settings, const EditState* previous) {
    auto next = std::make_shared<Shown>();
    next->state = deriveEditState(*recording_, settings, canvas_, previous);
    const std::lock_guard hold(stateLock_);
    // The old state is destroyed after the lock.
    shown_.swap(next);
}

imaging::Picture Composition::compose(const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                                      double t) const {
    const std::shared_ptr<Shown> current = shown();
    std::call_once(current->drawn, [&] {
        const EditState& state = *current->state;
        current->layers =
            makeStudioLayers(state.layout, state.settings, LayerViews(canvas_), preparedLayers_, preparedLayers_);
    });
    return composeFrame({*recording_, *current->state, current->layers, cursorAssets_}, source, webcam, t);
}

imaging::Picture Composition::composeShown(const imaging::Picture& source,
                                           const std::optional<imaging::Picture>& webcam, double t, PixelSize frame,
                                           bool isStill) const {
    precondition(frame.width >= 1 && frame.height >= 1, "a frame has an area");
    const std::shared_ptr<const EditState> current = state();
    const StudioLayout& layout = current->layout;
    const ZoomTransform zoom = frameZoom(*current, t);
    const LayerViews views = isStill ? LayerViews(layout, frame, zoom) : LayerViews::ofMoving(layout, frame, zoom);
    imaging::PreparedLayers& ofScreen = isStill || zoom.isIdentity() ? shownLayers_ : preparedLayers_;
    const StudioLayers layers = makeStudioLayers(layout, current->settings, views, shownLayers_, ofScreen);
    return composeFrame({*recording_, *current, layers, cursorAssets_}, source, webcam, t);
}

double Composition::sourceTime(double forOutput) const {
    return edit::sourceTime(state()->keptSegments, forOutput);
}

int Composition::zoomCount() const {
    return static_cast<int>(state()->zoomEngine->events().size());
}

std::optional<Point> Composition::cursorNormalized(double t) const {
    if (info().pixelWidth < 1 || info().pixelHeight < 1) return std::nullopt;
    const std::optional<Point> position = state()->cursorEngine->position(t);
    if (!position) return std::nullopt;
    return Point{position->x / static_cast<double>(info().pixelWidth),
                 position->y / static_cast<double>(info().pixelHeight)};
}

std::optional<model::MaskRect> Composition::sourceNormalized(const Rect& fromCanvas, double t) const {
    const auto current = state();
    const ZoomTransform zoom = zoomTransform(current->layout, current->zoomEngine->camera(t));
    return edit::sourceNormalized(current->layout, zoom, info(), fromCanvas);
}

}  // namespace lumivastor::edit
