// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/desktop_dialog.h"

namespace lumivastor::capture {

std::optional<std::string> dialogRefusal(platform::ContentPicker::Kind kind,
                                         const platform::ContentPicker::Offer& offer) {
    using Kind = platform::ContentPicker::Kind;
    if (kind == Kind::window && !offer.windows) {
        return "Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster.";
    }
    if (kind == Kind::display && !offer.displays) {
        return "Dieser Desktop gibt nur einzelne Fenster frei, keine ganzen Bildschirme.";
    }
    return std::nullopt;
}

std::optional<std::string> pointerRemark(platform::PointerKnowledge pointer) {
    switch (pointer) {
        case platform::PointerKnowledge::complete:
            return std::nullopt;
        case platform::PointerKnowledge::positions:
            return "Klicks lassen sich hier nicht sehen; die Aufnahme enthält nur Mausbewegungen. Siehe „lumivastor "
                   "doctor“.";
        case platform::PointerKnowledge::embedded:
            return "Dieser Desktop verrät nicht, wo der Mauszeiger ist; er ist fest im Bild.";
        case platform::PointerKnowledge::none:
            break;
    }
    return "Dieser Desktop verrät nicht, wo der Mauszeiger ist; er fehlt in der Aufnahme.";
}

}  // namespace lumivastor::capture
