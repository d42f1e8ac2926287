// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::platform {

/// A combination of keys that this program hears whichever window has the keyboard. Ends when it is destroyed.
class GlobalShortcut {
  public:
    virtual ~GlobalShortcut() = default;
};

/// A letter together with modifiers.
struct KeyCombination {
    char letter = 'S';  // A...Z
    bool control = false;
    bool alt = false;
    bool shift = false;
};

}  // namespace lumivastor::platform
