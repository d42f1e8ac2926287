// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lumivastor::platform {

/// A key combination that reaches this program whichever window has the keyboard focus. Destruction releases it.
class GlobalShortcut {
  public:
    virtual ~GlobalShortcut() = default;

    /// The keys as the user knows them. They may be others than those requested, and change. Empty while there are
    /// none: the desktop has bound none or taken them back, so none may be promised. Any thread.
    virtual std::string keys() const = 0;
};

/// In place of a letter: the Escape key. X11 only.
inline constexpr char kEscapeKey = '\x1b';

/// A letter together with modifiers.
struct KeyCombination {
    char letter = 'S';  // A...Z, or kEscapeKey
    bool control = false;
    bool alt = false;
    bool shift = false;
};

/// As users read it: "Strg+Alt+Umschalt+S".
std::string keyText(const KeyCombination& keys);

/// Further keys in the same dialog, so that the user is asked once.
struct FurtherKeys {
    KeyCombination keys = {};
    /// By which the desktop remembers what the user has bound.
    std::string id;
    std::string purpose;
    /// Runs on the shortcut's own thread.
    std::function<void()> pressed;
};

/// What a program wants from `Desktop::grabShortcut`.
struct ShortcutRequest {
    KeyCombination keys = {};
    /// What the keys do, for dialogs and settings of the desktop.
    std::string purpose = "Aufnahme stoppen";
    /// The window to which a dialog belongs, as the desktop's portal names it; empty: none.
    std::string parentWindow = {};
    /// Only where the desktop has a dialog; elsewhere each is grabbed by itself.
    std::vector<FurtherKeys> further = {};
};

}  // namespace lumivastor::platform
