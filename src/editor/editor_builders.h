// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <QString>
#include <functional>
#include <string>

#include "editor/session/control_values.h"

class QComboBox;
class QFrame;
class QGridLayout;
class QLabel;
class QLayout;
class QPushButton;
class QWidget;

// What the editor's window is put together from: one place for sizes, roles in the style sheet, names for assistive
// programs and tool tips. Objects belong to the layout or the parent that they are put into.

namespace lumivastor::editor {

/// How large the icon before a button's text is, with more room between them than the style leaves.
inline QSize iconBeforeText(int side) {
    return {side + 3, side};
}

/// What a control is called, for tests (`name`), for assistive programs, and in its tool tip.
struct ControlNames {
    const char* name;
    const char* accessible;
    const char* toolTip;
};

/// A slider of settings: what it may stand at, where it usually does, and how its value is written.
struct SliderSpec {
    ControlNames names;
    ui::ControlRange range;
    double usual;
    std::string (*text)(double value);
};

void setNames(QWidget& control, const ControlNames& names);

/// A button with a text, an icon, or both.
QPushButton* smallButton(const QString& text, const QString& iconName, const ControlNames& names,
                         std::function<void()> action);

/// A list to choose from, as wide as its items; the wheel scrolls what it lies in.
QComboBox* popUp(const ControlNames& names);

/// A heading in capitals at the beginning of a row of tools.
QLabel* toolHeading(const QString& text);

/// A label in the second colour.
QLabel* secondLabel(const QString& text = {});

/// A value at the end of a row.
QLabel* valueLabel(const QString& name);

/// A card of settings: rows of a caption, a control, and perhaps a value.
class Card {
  public:
    /// Made in `column`.
    Card(QLayout& column, const QString& title);

    /// `value` may be null: the control then reaches to the end.
    void addRow(const QString& caption, QWidget* control, QLabel* value = nullptr);

    QFrame* frame() const { return frame_; }

  private:
    QFrame* frame_;
    QGridLayout* rows_;
};

/// A thin line between rows.
QFrame* separator();

}  // namespace lumivastor::editor
