// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <string>

#include "editor/session/command_table.h"

class QAction;
class QKeyEvent;
class QMenu;
class QMenuBar;

namespace lumivastor::editor {

/// What commands do. A command without an entry is in no menu, and its keys do nothing.
using CommandActions = std::map<Command, std::function<void()>>;

/// Commands that are menus of their own, with what makes the items each time such a menu is about to open.
using CommandSubmenus = std::map<Command, std::function<void(QMenu& menu)>>;

/// The editor's menus, made from `commandTable`. Each item shows its key, but does not listen for it: the window
/// handles keys before the control that has the keyboard. Main thread.
class MenuBar {
  public:
    /// Calls the actions that the commands have when the bar is built.
    explicit MenuBar(const CommandActions& actions, const CommandSubmenus& submenus = {});

    /// A menu is about to open, and its state may be older than what is outside of the window.
    std::function<void()> onOpen;

    /// The widget. It belongs to the layout that it is added to.
    QMenuBar* bar() const { return bar_; }

    /// Titles, whether commands can be used, and which switches are on.
    void setState(const CommandState& state);

  private:
    QMenuBar* bar_;
    std::map<Command, QAction*> items_;
};

/// The key of an event in the form of `commandTable`: "Ctrl+Shift+Z", "Left", "?".
std::string keyName(const QKeyEvent& event);

}  // namespace lumivastor::editor
