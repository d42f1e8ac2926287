// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_layer.h"

#include <algorithm>
#include <optional>

namespace lumivastor::x11 {
namespace {

std::optional<int> layerOfType(XAtom type) {
    switch (type) {
        case XAtom::typeDesktop:
            return -1;
        case XAtom::typeNormal:
        case XAtom::typeDialog:
        case XAtom::typeUtility:
            return 0;
        case XAtom::typeDock:
        case XAtom::typeToolbar:
        case XAtom::typeMenu:
        case XAtom::typeSplash:
        case XAtom::typeDropdownMenu:
        case XAtom::typePopupMenu:
        case XAtom::typeTooltip:
        case XAtom::typeNotification:
        case XAtom::typeCombo:
        case XAtom::typeDnd:
            return 1;
        default:
            return std::nullopt;
    }
}

}  // namespace

int windowLayer(std::span<const XAtom> types, std::span<const XAtom> states) {
    int layer = 0;
    for (const XAtom type : types) {
        if (const auto known = layerOfType(type)) {
            layer = *known;
            break;
        }
    }
    const bool isAbove = std::find(states.begin(), states.end(), XAtom::netWmStateAbove) != states.end();
    return layer == 0 && isAbove ? 1 : layer;
}

}  // namespace lumivastor::x11
