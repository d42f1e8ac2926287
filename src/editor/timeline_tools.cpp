// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline_tools.h"

#include <utility>

#include "editor/session/cut_edits.h"
#include "editor/session/trim_edits.h"
#include "editor/session/zoom_edits.h"
#include "editor/timeline/strip_texts.h"

namespace lumivastor::editor {

TimelineTools::TimelineTools(EditSession& session, TimelineStrip& strip, Callbacks callbacks)
    : session_(session), strip_(strip), callbacks_(std::move(callbacks)) {
    // Before the data come, so that nothing moves when they do.
    strip_.setData({true, session_.info().systemAudio, session_.info().microphone});
    strip_.onSelectZoom = [this](int index) { callbacks_.run([&] { session_.selectZoom(index); }); };
    strip_.onSelectionChanged = [this] { callbacks_.selectionChanged(); };
    strip_.onDragBegin = [this](const StripPart& part) { callbacks_.run([&] { beginDrag(part); }); };
    strip_.onDrag = [this](double seconds) { dragTo(seconds); };
    strip_.onDragEnd = [this](bool isKept) { endDrag(isKept); };
    strip_.onCommand = [this](StripCommand command, const StripPart& part, double seconds) {
        callbacks_.run([&] { perform(command, part, seconds); });
    };
}

void TimelineTools::beginDrag(const StripPart& part) {
    part_ = part;
    origin_ = part.isOfZoom() ? session_.withManualZooms() : session_.settings();
    session_.beginDrag(stripDragName(part.kind));
}

void TimelineTools::dragTo(double seconds) {
    if (!session_.isDragging()) return;
    const model::ProjectSettings next = dragged(seconds);
    // Back where it was, proposed zooms are still proposed.
    session_.dragTo(next == origin_ ? session_.dragOrigin() : next);
}

void TimelineTools::endDrag(bool isKept) {
    if (isKept) {
        session_.endDrag();
    } else {
        session_.cancelDrag();
    }
}

model::ProjectSettings TimelineTools::dragged(double seconds) const {
    const RecordingLength length{session_.info().duration, session_.info().fps};
    switch (part_.kind) {
        case StripPart::Kind::zoom:
            return withMovedZoom(origin_, part_.index, seconds, length);
        case StripPart::Kind::zoomStart:
            return withZoomStart(origin_, part_.index, seconds, length);
        case StripPart::Kind::zoomEnd:
            return withZoomEnd(origin_, part_.index, seconds, length);
        case StripPart::Kind::cut:
            return withMovedCut(origin_, part_.index, seconds, length);
        case StripPart::Kind::cutStart:
            return withCutStart(origin_, part_.index, seconds, length);
        case StripPart::Kind::cutEnd:
            return withCutEnd(origin_, part_.index, seconds, length);
        case StripPart::Kind::trimStart:
            return withTrimStart(origin_, seconds, length);
        case StripPart::Kind::trimEnd:
            return withTrimEnd(origin_, seconds, length);
        case StripPart::Kind::outside:
        case StripPart::Kind::empty:
        case StripPart::Kind::playhead:
        case StripPart::Kind::click:
            break;
    }
    return origin_;
}

void TimelineTools::perform(StripCommand command, const StripPart& part, double seconds) {
    switch (command) {
        case StripCommand::showZoom:
            return callbacks_.showSelectedZoom();
        case StripCommand::deleteZoom:
            return session_.deleteSelectedZoom();
        case StripCommand::removeCut:
            return session_.change(withoutCut(session_.settings(), part.index), "Schnitt entfernen");
        case StripCommand::addZoom:
            session_.addZoom(seconds, callbacks_.zoomScale());
            return callbacks_.showSelectedZoom();
        case StripCommand::markCutStart:
            return session_.markCutStart(seconds);
        case StripCommand::addCut:
            return session_.addCut(seconds);
        case StripCommand::setTrimStart:
            return session_.setTrimStart(seconds);
        case StripCommand::setTrimEnd:
            return session_.setTrimEnd(seconds);
        case StripCommand::resetTrim:
            return session_.resetTrim();
        case StripCommand::resetZooms:
            return session_.resetZoomsToAuto();
        case StripCommand::showSelection:
        case StripCommand::showAll:
            break;
    }
}

}  // namespace lumivastor::editor
