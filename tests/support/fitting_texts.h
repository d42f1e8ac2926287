// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <string>

#include "ui/text_labels.h"

namespace lumivastor {

/// Expects every visible button, label and pop-up menu of a window to have the size that its text needs and to lie
/// within its parent, and every text that ends in dots to have a tool tip with all of it. Returns their number.
inline int expectTextsFit(const QWidget& window) {
    int seen = 0;
    for (const QWidget* each : window.findChildren<QWidget*>()) {
        const bool hasText = qobject_cast<const QAbstractButton*>(each) != nullptr ||
                             qobject_cast<const QLabel*>(each) != nullptr ||
                             qobject_cast<const QComboBox*>(each) != nullptr;
        if (!hasText || !each->isVisible() || each->window() != &window) continue;
        // The icon in a text field is as large as the field makes it.
        if (each->inherits("QLineEditIconButton")) continue;
        ++seen;
        const QSize needed = each->minimumSizeHint();
        const std::string name = each->metaObject()->className() + (" " + each->objectName()).toStdString();
        EXPECT_GE(each->width(), needed.width()) << name;
        EXPECT_GE(each->height(), needed.height()) << name;
        if (const auto* label = dynamic_cast<const ui::ElidedLabel*>(each);
            label != nullptr && label->fontMetrics().horizontalAdvance(label->text()) > label->contentsRect().width()) {
            EXPECT_EQ(label->toolTip(), label->text()) << name;
        }
        EXPECT_TRUE(each->parentWidget()->rect().contains(each->geometry())) << name;
    }
    return seen;
}

}  // namespace lumivastor
