// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QTest>
#include <QWidget>
#include <algorithm>
#include <string>
#include <vector>

namespace lumivastor {

/// What assistive programs call a widget: the text of its label, or its own name.
inline std::string spokenName(QWidget& widget) {
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&widget);
    // The name of a list is what is chosen in it.
    if (accessible != nullptr && accessible->role() == QAccessible::ComboBox) {
        for (const auto& [label, relation] : accessible->relations(QAccessible::Label)) {
            return label->text(QAccessible::Name).toStdString();
        }
    }
    const QString name = accessible == nullptr ? QString() : accessible->text(QAccessible::Name);
    return name.isEmpty() ? std::string("?") + widget.metaObject()->className() : name.toStdString();
}

/// The names of what the tabulator key goes to in a window, from its beginning until it comes back; backward with
/// Shift. Expects each stop to be seen in the window, and to look different while it has the keyboard.
inline std::vector<std::string> tabOrder(QWidget& window, bool isBackward = false) {
    constexpr std::size_t kMost = 200;
    if (QWidget* const focused = window.focusWidget()) focused->clearFocus();
    std::vector<QWidget*> stops;
    std::vector<std::string> names;
    QImage before;
    while (stops.size() < kMost) {
        QWidget* const from = window.focusWidget() != nullptr ? window.focusWidget() : &window;
        QTest::keyClick(from, isBackward ? Qt::Key_Backtab : Qt::Key_Tab,
                        isBackward ? Qt::ShiftModifier : Qt::NoModifier);
        QApplication::processEvents();
        QWidget* const now = window.focusWidget();
        if (!stops.empty() && now != stops.back()) {
            EXPECT_NE(stops.back()->grab().toImage(), before) << names.back() << " looks the same with the keyboard";
        }
        if (now == nullptr || std::find(stops.begin(), stops.end(), now) != stops.end()) break;
        stops.push_back(now);
        names.push_back(spokenName(*now));
        before = now->grab().toImage();
        EXPECT_FALSE(now->visibleRegion().isEmpty()) << names.back() << " cannot be seen";
    }
    EXPECT_LT(stops.size(), kMost);
    if (isBackward) std::reverse(names.begin(), names.end());
    return names;
}

/// One name a line, for comparison with a list that can be read.
inline std::string asLines(const std::vector<std::string>& names) {
    std::string lines = "\n";
    for (const std::string& name : names) lines += name + "\n";
    return lines;
}

}  // namespace lumivastor
