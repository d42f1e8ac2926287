// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/menu_bar.h"

#include <QAction>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

#include "editor/editor_builders.h"

namespace lumivastor::editor {

namespace {

// An item of a menu writes what follows a tabulator where keys are.
QString itemText(const CommandEntry& entry, const CommandState& state) {
    QString text = toQString(commandTitle(entry.command, state));
    // A lone ampersand would mark the letter behind it.
    text.replace("&", "&&");
    if (!entry.keys[0].empty()) text += "\t" + toQString(keyText(entry.keys[0]));
    return text;
}

}  // namespace

MenuBar::MenuBar(const CommandActions& actions, const CommandSubmenus& submenus) : bar_(new QMenuBar) {
    bar_->setObjectName("menuBar");
    QMenu* menu = nullptr;
    std::optional<CommandMenu> current;
    for (const CommandEntry& entry : commandTable()) {
        const auto action = actions.find(entry.command);
        const auto submenu = submenus.find(entry.command);
        if (action == actions.end() && submenu == submenus.end()) continue;
        if (current != entry.menu) {
            current = entry.menu;
            // The first letter opens the menu, with the Alt key.
            menu = bar_->addMenu("&" + toQString(menuTitle(entry.menu)));
            QObject::connect(menu, &QMenu::aboutToShow, bar_, [this] {
                if (onOpen) onOpen();
            });
        } else if (entry.beginsGroup) {
            menu->addSeparator();
        }
        if (submenu != submenus.end()) {
            QMenu* inner = menu->addMenu(itemText(entry, {}));
            QObject::connect(inner, &QMenu::aboutToShow, inner, [inner, fill = submenu->second] {
                inner->clear();
                fill(*inner);
            });
            items_[entry.command] = inner->menuAction();
            continue;
        }
        QAction* item = menu->addAction(itemText(entry, {}));
        item->setCheckable(entry.isSwitch);
        QObject::connect(item, &QAction::triggered, bar_, [run = action->second] { run(); });
        items_[entry.command] = item;
    }
    setState({});
}

void MenuBar::setState(const CommandState& state) {
    for (const auto& [command, item] : items_) {
        item->setText(itemText(commandEntry(command), state));
        item->setEnabled(isEnabled(command, state));
        item->setChecked(isChecked(command, state));
    }
}

std::string keyName(const QKeyEvent& event) {
    Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const int key = event.key();
    // Keyboards differ in which signs are behind Shift.
    const bool isSign = key > Qt::Key_Space && key < Qt::Key_A;
    if (isSign) modifiers &= ~Qt::ShiftModifier;
    std::string name;
    if (modifiers & Qt::ControlModifier) name += "Ctrl+";
    if (modifiers & Qt::ShiftModifier) name += "Shift+";
    modifiers &= ~(Qt::ControlModifier | Qt::ShiftModifier);
    if (modifiers != Qt::NoModifier) return {};
    if (key == Qt::Key_Delete) return name + "Delete";
    return name + QKeySequence(key).toString(QKeySequence::PortableText).toStdString();
}

}  // namespace lumivastor::editor
