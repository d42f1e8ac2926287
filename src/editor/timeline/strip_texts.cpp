// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_texts.h"

#include "base/formatted.h"
#include "editor/timeline/strip_ruler.h"

namespace lumivastor::editor {

namespace {

using Kind = StripPart::Kind;

std::string range(double start, double end) {
    return exactTime(start) + " – " + exactTime(end);
}

std::string zoomText(int index, const model::ZoomSpec& zoom) {
    return formatted("Zoom %d: ", index + 1) + range(zoom.start, zoom.end);
}

std::string cutText(int index, const model::CutRange& cut) {
    return formatted("Schnitt %d: ", index + 1) + range(cut.start, cut.end);
}

template <typename Item>
const Item* at(std::span<const Item> items, int index) {
    return index >= 0 && index < static_cast<int>(items.size()) ? &items[static_cast<std::size_t>(index)] : nullptr;
}

}  // namespace

std::string stripToolTip(const StripPart& part, const TimelineStripContent& content,
                         const TimelineStripLayout& layout) {
    const bool isBody = part.kind == Kind::zoom || part.kind == Kind::cut;
    if (const auto* zoom = part.isOfZoom() ? at(content.zooms, part.index) : nullptr) {
        return zoomText(part.index, *zoom) + (isBody ? "\nZiehen verschiebt, ein Doppelklick zeigt ihn, Entf löscht ihn"
                                                     : "\nZiehen ändert die Länge");
    }
    if (const auto* cut = part.isOfCut() ? at(content.cuts, part.index) : nullptr) {
        return cutText(part.index, *cut) +
               (isBody ? "\nZiehen verschiebt, Entf entfernt ihn" : "\nZiehen ändert die Länge");
    }
    if (const auto* click = part.kind == Kind::click
                                ? at(std::span<const TimelineStripLayout::Click>(layout.clicks), part.index)
                                : nullptr) {
        return "Klick bei " + exactTime(click->seconds);
    }
    if (part.kind == Kind::trimStart) {
        return "Anfang des Videos: " + exactTime(content.trim.start) + "\nZiehen verschiebt ihn";
    }
    if (part.kind == Kind::trimEnd) {
        return "Ende des Videos: " + exactTime(content.trim.end) + "\nZiehen verschiebt es";
    }
    const std::string legend = "Helle Abschnitte sind im Video, orange sind Zooms, Punkte sind Klicks";
    return content.marks.empty() ? legend : legend + ", Fähnchen sind Marken";
}

std::string stripLaneName(const StripLanes& lanes, double y) {
    if (lanes.systemSound.contains(y)) return "Systemton";
    if (lanes.microphone.contains(y)) return "Mikrofon";
    return {};
}

std::string stripValue(const StripSelection& selection, const TimelineStripContent& content, const Interval& visible) {
    std::string text;
    if (selection.kind == StripSelection::Kind::zoom) {
        if (const auto* zoom = at(content.zooms, selection.index)) {
            text = zoomText(selection.index, *zoom) + " ausgewählt. ";
        }
    } else if (selection.kind == StripSelection::Kind::cut) {
        if (const auto* cut = at(content.cuts, selection.index)) {
            text = cutText(selection.index, *cut) + " ausgewählt. ";
        }
    }
    text += "Abspielposition " + exactTime(content.playhead);
    if (visible.length() < content.duration) text += ". Zu sehen: " + range(visible.start, visible.end);
    return text;
}

const char* stripDragName(Kind kind) {
    switch (kind) {
        case Kind::zoom:
            return "Zoom verschieben";
        case Kind::zoomStart:
            return "Zoomanfang ändern";
        case Kind::zoomEnd:
            return "Zoomende ändern";
        case Kind::cut:
            return "Schnitt verschieben";
        case Kind::cutStart:
            return "Schnittanfang ändern";
        case Kind::cutEnd:
            return "Schnittende ändern";
        case Kind::trimStart:
            return "Anfang setzen";
        case Kind::trimEnd:
            return "Ende setzen";
        case Kind::outside:
        case Kind::empty:
        case Kind::playhead:
        case Kind::click:
            break;
    }
    return "";
}

}  // namespace lumivastor::editor
