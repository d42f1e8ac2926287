// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/edit_session.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "base/recorder_error.h"
#include "editor/session/frame_time.h"
#include "model/look.h"
#include "render/export_plan.h"

namespace lumivastor::editor {

namespace {

// A zoom that is added by hand.
constexpr double kLeastScale = 1.4;
constexpr double kZoomLength = 2.5;
// The focus key's time after the start: the camera has zoomed in then.
constexpr double kFocusDelay = 0.7;
// The time after a zoom's start at which it is looked at, and at which its cursor is looked up.
constexpr double kLookDelay = 1.0;

// Cuts are longer than this, in seconds.
constexpr double kLeastCut = 0.01;

}  // namespace

PixelSize previewCanvas(const model::ProjectSettings& settings) {
    try {
        return render::exportCanvas(settings.exportHeight);
    } catch (const RecorderError&) {
        return render::exportCanvas(model::ProjectSettings().exportHeight);
    }
}

EditSession::EditSession(const std::filesystem::path& folder, MainLoop& loop, Options options)
    : options_(std::move(options)), document_(folder), saveTimer_(loop, [this] { save(); }) {
    const PixelSize canvas = previewCanvas(document_.settings());
    composition_ = std::make_shared<edit::Composition>(folder, canvas.width, canvas.height);
    // The composition has read the document itself, and another program may have replaced it in between.
    compose(document_.settings());
    // A look that nothing can be drawn with is reported; the recording opens without it.
    if (!document_.exists()) putInForce(model::withLook(document_.settings(), options_.newLook, hasWebcam()));
    selectedZoom_ = composition_->state()->zoomSpecs.empty() ? -1 : 0;
}

EditSession::~EditSession() = default;

void EditSession::selectZoom(int index) {
    selectedZoom_ = std::clamp(index, -1, static_cast<int>(composition_->state()->zoomSpecs.size()) - 1);
    options_.changed();
}

std::optional<double> EditSession::selectedZoomMoment() const {
    if (selectedZoom_ < 0) return std::nullopt;
    return composition_->state()->zoomSpecs[static_cast<std::size_t>(selectedZoom_)].start + kLookDelay;
}

ControlValues EditSession::controls() const {
    const auto state = composition_->state();
    return controlValues(state->settings, state->zoomSpecs, selectedZoom_);
}

void EditSession::applyControls(const ControlValues& values) {
    edit(settingsFrom(values, settings(), selectedZoom_, hasWebcam()), changeName(controls(), values), true);
}

void EditSession::beginDrag(const std::string& name) {
    endDrag();
    drag_ = Drag{settings(), selectedZoom_, name};
}

void EditSession::dragTo(const model::ProjectSettings& next) {
    if (!drag_ || next == settings() || !putInForce(next)) return;
    options_.changed();
}

void EditSession::endDrag() {
    if (!drag_) return;
    const Drag drag = *std::exchange(drag_, std::nullopt);
    if (settings() == drag.origin) return;
    history_.push(drag.origin, drag.name, false, options_.clock());
    history_.endRun();
    scheduleSave();
    options_.changed();
}

void EditSession::cancelDrag() {
    if (!drag_) return;
    const Drag drag = *std::exchange(drag_, std::nullopt);
    if (settings() != drag.origin) putInForce(drag.origin);
    selectedZoom_ = drag.selectedZoom;
    options_.changed();
}

void EditSession::change(const model::ProjectSettings& next, const std::string& name, bool coalesce) {
    edit(next, name, coalesce);
}

void EditSession::applyLook(const model::ProjectSettings& look, const std::string& name) {
    change(model::withLook(settings(), look, hasWebcam()), name);
}

void EditSession::setTrimStart(double playhead) {
    model::ProjectSettings next = settings();
    next.trimStart = snapped(playhead);
    edit(next, "Anfang setzen");
}

void EditSession::setTrimEnd(double playhead) {
    model::ProjectSettings next = settings();
    next.trimEnd = snapped(playhead);
    edit(next, "Ende setzen");
}

void EditSession::resetTrim() {
    model::ProjectSettings next = settings();
    next.trimStart = 0;
    next.trimEnd = 0;
    edit(next, "Ganze Aufnahme");
}

void EditSession::markCutStart(double playhead) {
    pendingCutStart_ = snapped(playhead);
    options_.changed();
}

void EditSession::addCut(double playhead) {
    if (!pendingCutStart_) {
        options_.status("Zuerst „Schnitt von hier\" drücken.");
        return;
    }
    const model::CutRange cut{*pendingCutStart_, snapped(playhead)};
    if (cut.start + kLeastCut >= cut.end) {
        options_.status("Das Schnittende muss hinter dem Anfang liegen.");
        return;
    }
    model::ProjectSettings next = settings();
    next.cuts.push_back(cut);
    std::stable_sort(next.cuts.begin(), next.cuts.end(),
                     [](const model::CutRange& a, const model::CutRange& b) { return a.start < b.start; });
    pendingCutStart_.reset();
    edit(next, "Schnitt");
}

void EditSession::removeLastCut() {
    model::ProjectSettings next = settings();
    if (next.cuts.empty()) return;
    next.cuts.pop_back();
    edit(next, "Schnitt entfernen");
}

void EditSession::addZoom(double playhead, double sliderScale) {
    const double t = snapped(playhead);
    const double scale = std::max(sliderScale, kLeastScale);
    const Point focus = composition_->cursorNormalized(t + kLookDelay).value_or(Point{0.5, 0.5});
    model::ProjectSettings next = withManualZooms();
    next.zooms->push_back({t, t + kZoomLength, scale, {{t + kFocusDelay, focus.x, focus.y}}});

    const int before = selectedZoom_;
    // Selected before `changed` is called, which shows the selection.
    std::vector<model::ZoomSpec> inForce = *next.zooms;
    std::stable_sort(inForce.begin(), inForce.end(),
                     [](const model::ZoomSpec& a, const model::ZoomSpec& b) { return a.start < b.start; });
    for (std::size_t i = 0; i < inForce.size(); ++i) {
        if (inForce[i].start <= t && t <= inForce[i].end) selectedZoom_ = static_cast<int>(i);
    }
    edit(next, "Zoom hinzufügen");
    if (settings() != next) selectedZoom_ = before;
}

void EditSession::deleteSelectedZoom() {
    if (selectedZoom_ < 0) return;
    model::ProjectSettings next = withManualZooms();
    const int index = indexInList(*next.zooms, selectedZoom_);
    if (index < 0) return;
    next.zooms->erase(next.zooms->begin() + index);
    edit(next, "Zoom löschen");
}

void EditSession::resetZoomsToAuto() {
    model::ProjectSettings next = settings();
    next.zooms.reset();
    edit(next, "Automatische Zooms");
}

bool EditSession::addMask(const Rect& canvasRect, double playhead) {
    const std::optional<model::MaskRect> mask = composition_->sourceNormalized(canvasRect, playhead);
    if (!mask) return false;
    model::ProjectSettings next = settings();
    next.masks.push_back(*mask);
    edit(next, "Bereich verpixeln");
    return true;
}

void EditSession::removeLastMask() {
    model::ProjectSettings next = settings();
    if (next.masks.empty()) return;
    next.masks.pop_back();
    edit(next, "Bereich entfernen");
}

void EditSession::removeAllMasks() {
    model::ProjectSettings next = settings();
    next.masks.clear();
    edit(next, "Alle Bereiche entfernen");
}

void EditSession::undo() {
    if (isDragging()) return cancelDrag();
    restore(history_.undo(settings()));
}

void EditSession::redo() {
    if (isDragging()) return cancelDrag();
    restore(history_.redo(settings()));
}

void EditSession::saveNow() {
    endDrag();
    saveTimer_.cancel();
    if (isEdited_ || !document_.exists()) save();
}

void EditSession::scheduleSave() {
    isEdited_ = true;
    saveTimer_.schedule();
}

void EditSession::save() {
    try {
        const model::ProjectDocument::Before before = document_.save(settings());
        isEdited_ = false;
        if (before == model::ProjectDocument::Before::unreadable) {
            report("„project.json“ war nicht lesbar und liegt jetzt unverändert in „project.json.alt“.");
        } else if (before == model::ProjectDocument::Before::foreign) {
            report(
                "„project.json“ wurde von einem anderen Programm geändert. Dessen Fassung liegt jetzt in "
                "„project.json.alt“.");
        }
    } catch (const RecorderError& error) {
        report("Speichern fehlgeschlagen: " + error.message());
    }
}

void EditSession::report(const std::string& sentence) {
    Log::write("Editor", sentence);
    options_.status(sentence);
}

void EditSession::edit(const model::ProjectSettings& next, const std::string& name, bool coalesce) {
    endDrag();
    const model::ProjectSettings before = settings();
    if (next == before) {
        // A command without an effect is no step, but it may have ended a pending cut.
        options_.changed();
        return;
    }
    if (!putInForce(next)) return;
    history_.push(before, name, coalesce, options_.clock());
    scheduleSave();
    options_.changed();
}

void EditSession::compose(const model::ProjectSettings& next) {
    const PixelSize canvas = previewCanvas(next);
    if (canvas == PixelSize{composition_->canvasWidth(), composition_->canvasHeight()}) {
        composition_->setSettings(next);
    } else {
        composition_ = std::make_shared<edit::Composition>(*composition_, next, canvas.width, canvas.height);
    }
}

bool EditSession::putInForce(const model::ProjectSettings& next) {
    try {
        compose(next);
    } catch (const RecorderError& error) {
        options_.status(error.message());
        return false;
    }
    const int zooms = static_cast<int>(composition_->state()->zoomSpecs.size());
    selectedZoom_ = std::clamp(selectedZoom_, zooms > 0 ? 0 : -1, zooms - 1);
    return true;
}

void EditSession::restore(const std::optional<model::ProjectSettings>& before) {
    if (!before) {
        options_.beep();
        return;
    }
    if (!putInForce(*before)) return;
    scheduleSave();
    options_.changed();
}

model::ProjectSettings EditSession::withManualZooms() const {
    const auto state = composition_->state();
    model::ProjectSettings next = state->settings;
    if (!next.zooms) next.zooms = state->zoomSpecs;
    return next;
}

double EditSession::snapped(double playhead) const {
    return snappedToFrame(playhead, info().fps);
}

}  // namespace lumivastor::editor
