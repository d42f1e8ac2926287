// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAccessible>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFrame>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QScrollBar>
#include <QWidget>
#include <string>
#include <typeinfo>

namespace lumivastor {

/// Whether assistive programs read a widget. They do not read plain containers, Qt's internal widgets, and labels
/// without a text.
inline bool isForPeople(const QWidget& widget) {
    if (widget.objectName().startsWith("qt_") || !widget.isVisible()) return false;
    if (const auto* label = dynamic_cast<const QLabel*>(&widget)) return !label->text().isEmpty();
    const bool isContainer = (typeid(widget) == typeid(QWidget) || typeid(widget) == typeid(QFrame)) &&
                             !widget.isWindow() && widget.focusPolicy() == Qt::NoFocus;
    // Assistive programs read the menus instead of their bar, and the view instead of its scroll bars.
    return !isContainer && dynamic_cast<const QMenuBar*>(&widget) == nullptr &&
           dynamic_cast<const QDialogButtonBox*>(&widget) == nullptr &&
           dynamic_cast<const QScrollBar*>(&widget) == nullptr;
}

/// Expects a name for assistive programs of every visible widget of a window, and of the window itself. Returns their
/// number.
inline int expectEverythingIsNamed(const QWidget& window) {
    int count = 0;
    auto all = window.findChildren<QWidget*>();
    all.prepend(const_cast<QWidget*>(&window));
    for (QWidget* each : all) {
        if (each->window() != &window || !isForPeople(*each)) continue;
        ++count;
        QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(each);
        const std::string which = each->metaObject()->className() + (" " + each->objectName()).toStdString();
        EXPECT_NE(accessible, nullptr) << which;
        if (accessible == nullptr) continue;
        const bool isNamed =
            !accessible->text(QAccessible::Name).isEmpty() || (each->isWindow() && !each->windowTitle().isEmpty());
        EXPECT_TRUE(isNamed) << which;
    }
    return count;
}

}  // namespace lumivastor
