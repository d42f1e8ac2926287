// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_builders.h"

#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <utility>

#include "ui/icons.h"
#include "ui/text_labels.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {

namespace {

// The wheel scrolls the column and does not change the menu under the pointer.
class PopUp final : public QComboBox {
  protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

}  // namespace

QSize iconBeforeText(int side) {
    return {ui::theme::iconSide(side) + 3, ui::theme::iconSide(side)};
}

QSize iconAlone(int side) {
    return {ui::theme::iconSide(side), ui::theme::iconSide(side)};
}

void setNames(QWidget& control, const ControlNames& names) {
    control.setObjectName(names.name);
    control.setAccessibleName(QString::fromUtf8(names.accessible));
    control.setToolTip(QString::fromUtf8(names.toolTip));
}

QPushButton* smallButton(const QString& text, const QString& iconName, const ControlNames& names,
                         std::function<void()> action) {
    auto* button = new QPushButton(text);
    if (!iconName.isEmpty()) button->setIcon(ui::icon(iconName));
    button->setIconSize(text.isEmpty() ? iconAlone(16) : iconBeforeText(16));
    if (text.isEmpty()) button->setProperty("role", "icon");
    // A click does not move the keyboard focus.
    button->setFocusPolicy(Qt::TabFocus);
    setNames(*button, names);
    QObject::connect(button, &QPushButton::clicked, button, [action = std::move(action)] { action(); });
    return button;
}

void LabelledSlider::setValue(double value) const {
    slider->setDoubleValue(value);
    label->setText(QString::fromStdString(text(value)));
}

LabelledSlider makeSlider(const SliderSpec& spec) {
    auto* slider = new ui::ValueSlider(spec.range);
    setNames(*slider, spec.names);
    slider->setDefaultValue(spec.defaultValue);
    slider->valueText = spec.text;
    return {slider, valueLabel(QString::fromLatin1(spec.names.name) + "Label"), spec.text};
}

QComboBox* popUp(const ControlNames& names) {
    auto* box = new PopUp;
    box->setFocusPolicy(Qt::TabFocus);
    box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setNames(*box, names);
    return box;
}

QLabel* toolHeading(const QString& text) {
    auto* label = new QLabel(text);
    label->setProperty("role", "tool");
    ui::theme::spaceCapitals(*label);
    return label;
}

QLabel* secondLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setProperty("role", "second");
    return label;
}

QLabel* valueLabel(const QString& name) {
    auto* label = new ui::DigitLabel;
    label->setObjectName(name);
    label->setProperty("role", "value");
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

Card::Card(QLayout& column, const QString& title) : frame_(new QFrame), rows_(new QGridLayout) {
    frame_->setProperty("role", "card");
    frame_->setAccessibleName(title);
    auto* layout = new QVBoxLayout(frame_);
    layout->setContentsMargins(ui::theme::kApart, ui::theme::kApart - 2, ui::theme::kApart, ui::theme::kApart - 2);
    layout->setSpacing(ui::theme::kNear - 2);
    auto* heading = new QLabel(title);
    heading->setProperty("role", "heading");
    layout->addWidget(heading);
    rows_->setContentsMargins(0, 0, 0, 0);
    rows_->setHorizontalSpacing(ui::theme::kNear);
    rows_->setVerticalSpacing(ui::theme::kTight - 1);
    rows_->setColumnStretch(1, 1);
    // Captions and values have the same width in all cards, so that the sliders are aligned.
    rows_->setColumnMinimumWidth(0, ui::theme::smallTextWidth("Hintergrund"));
    rows_->setColumnMinimumWidth(2, ui::theme::smallTextWidth("0 % (stumm)"));
    layout->addLayout(rows_);
    column.addWidget(frame_);
}

void Card::addRow(const QString& caption, QWidget* control, QLabel* value) {
    const int row = rows_->rowCount();
    rows_->setRowMinimumHeight(row, 24);
    auto* label = secondLabel(caption);
    label->setBuddy(control);
    rows_->addWidget(label, row, 0, Qt::AlignVCenter);
    const bool fills = control->sizePolicy().horizontalPolicy() != QSizePolicy::Fixed;
    rows_->addWidget(control, row, 1, 1, value ? 1 : 2, fills ? Qt::Alignment() : Qt::AlignLeft | Qt::AlignVCenter);
    if (value) rows_->addWidget(value, row, 2);
}

void Card::addNote(const QString& name, const QString& text) {
    auto* label = secondLabel(text);
    label->setObjectName(name);
    label->setWordWrap(true);
    rows_->addWidget(label, rows_->rowCount(), 0, 1, 3);
}

QFrame* separator() {
    auto* line = new QFrame;
    line->setProperty("role", "line");
    line->setFixedHeight(1);
    return line;
}

}  // namespace lumivastor::editor
