// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <QString>
#include <functional>
#include <string>
#include <string_view>

#include "editor/session/control_table.h"

class QComboBox;
class QFrame;
class QGridLayout;
class QLabel;
class QLayout;
class QPushButton;
class QWidget;

namespace lumivastor::ui {
class ValueSlider;
}  // namespace lumivastor::ui

// Parts of the editor's window: one place for sizes, roles in the style sheet, names for assistive programs and tool
// tips. Each object belongs to the layout or the parent that it is added to.

namespace lumivastor::editor {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The size of the icon before a button's text, with more space between them than the style leaves, and of one without
/// a text. Both grow with the type; `side` is that for type of the usual size, in points.
QSize iconBeforeText(int side);
QSize iconAlone(int side);

/// A slider of settings. A double click takes it to `defaultValue`; `text` writes its value.
struct SliderSpec {
    ControlNames names;
    ui::ControlRange range;
    double defaultValue;
    std::string (*text)(double value);
};

/// A slider and the label that shows its value.
struct LabelledSlider {
    ui::ValueSlider* slider;
    QLabel* label;
    std::string (*text)(double value);

    /// Sets both, without an event.
    void setValue(double value) const;
};

void setNames(QWidget& control, const ControlNames& names);

/// A button with a text, an icon, or both.
QPushButton* smallButton(const QString& text, const QString& iconName, const ControlNames& names,
                         std::function<void()> action);

/// A slider without an event yet, and its label, which has the slider's name with "Label" behind it.
LabelledSlider makeSlider(const SliderSpec& spec);

/// A pop-up menu, as wide as its items. The wheel does not change it, but scrolls what is around it.
QComboBox* popUp(const ControlNames& names);

/// The heading of a row of tools, which is in capitals.
QLabel* toolHeading(const QString& text);

/// A label in the colour of secondary text.
QLabel* secondLabel(const QString& text = {});

/// The value at the end of a row.
QLabel* valueLabel(const QString& name);

/// A card of settings. Each row has a caption, a control and, for sliders, a value.
class Card {
  public:
    /// Adds the card to `column`.
    Card(QLayout& column, const QString& title);

    /// If `value` is null, the control reaches to the end of the row.
    void addRow(const QString& caption, QWidget* control, QLabel* value = nullptr);

    /// A sentence over the whole width, on as many lines as it needs.
    void addNote(const QString& name, const QString& text);

    QFrame* frame() const { return frame_; }

  private:
    QFrame* frame_;
    QGridLayout* rows_;
};

/// A thin line between rows.
QFrame* separator();

}  // namespace lumivastor::editor
