// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/global_shortcut.h"

namespace lumivastor::platform {

std::string keyText(const KeyCombination& keys) {
    std::string text;
    if (keys.control) text += "Strg+";
    if (keys.alt) text += "Alt+";
    if (keys.shift) text += "Umschalt+";
    return keys.letter == kEscapeKey ? text + "Esc" : text + keys.letter;
}

}  // namespace lumivastor::platform
