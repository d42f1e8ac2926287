// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor::platform {

/// A key combination that reaches this program whichever window has the keyboard focus. Destruction releases it.
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
