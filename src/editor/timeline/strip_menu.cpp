// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_menu.h"

namespace lumivastor::editor {

std::vector<StripMenuItem> stripMenu(const StripPart& part, const StripMenuState& state) {
    std::vector<StripMenuItem> items;
    if (part.isOfZoom()) {
        items.push_back({StripCommand::showZoom, "Zoom ansehen"});
        items.push_back({StripCommand::deleteZoom, "Zoom löschen"});
    }
    if (part.isOfCut()) items.push_back({StripCommand::removeCut, "Schnitt entfernen"});
    const bool hasOwn = !items.empty();
    items.push_back({StripCommand::addZoom, "Zoom hier hinzufügen", true, hasOwn});
    items.push_back({StripCommand::markCutStart, "Schnitt von hier"});
    items.push_back({StripCommand::addCut, "Schnitt bis hier", state.hasPendingCut});
    items.push_back({StripCommand::setTrimStart, "Video hier beginnen"});
    items.push_back({StripCommand::setTrimEnd, "Video hier beenden"});
    items.push_back({StripCommand::resetTrim, "Ganze Aufnahme", state.isTrimmed, true});
    items.push_back({StripCommand::resetZooms, "Automatische Zooms", state.hasManualZooms});
    items.push_back({StripCommand::showSelection, "Auswahl zeigen", state.hasSelection, true});
    items.push_back({StripCommand::showAll, "Alles zeigen", !state.showsAll});
    return items;
}

}  // namespace lumivastor::editor
