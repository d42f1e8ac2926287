// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/colour_well.h"

#include <QPainter>
#include <algorithm>

#include "ui/theme.h"

namespace lumivastor::ui {

namespace {

QColor shown(const ColourWell::Components& components) {
    const auto limited = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    return QColor::fromRgbF(limited(components.red), limited(components.green), limited(components.blue));
}

}  // namespace

ColourWell::ColourWell(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::clicked, this, [this] { openDialog(); });
}

void ColourWell::setComponents(const Components& components) {
    components_ = components;
    update();
}

QSize ColourWell::sizeHint() const {
    return {56, 26};
}

void ColourWell::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF outer = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.setPen(QPen(hasFocus() ? theme::kFocus : theme::kTrack, hasFocus() ? 2 : 1));
    painter.setBrush(underMouse() ? theme::kControlHover : theme::kControl);
    painter.drawRoundedRect(outer, 7, 7);
    painter.setPen(QPen(QColor(255, 255, 255, 40), 1));
    painter.setBrush(shown(components_));
    painter.drawRoundedRect(outer.adjusted(3.5, 3.5, -3.5, -3.5), 4, 4);
}

void ColourWell::openDialog() {
    if (dialog_) {
        dialog_->raise();
        dialog_->activateWindow();
        return;
    }
    dialog_ = new QColorDialog(shown(components_), window());
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->setWindowTitle("Hintergrund");
    dialog_->setOptions(QColorDialog::DontUseNativeDialog | QColorDialog::NoButtons);
    connect(dialog_, &QColorDialog::currentColorChanged, this, [this](const QColor& colour) {
        const QColor srgb = colour.toRgb();
        if (!srgb.isValid()) return;
        // The dialog has eight bits for each component.
        setComponents({srgb.red() / 255.0, srgb.green() / 255.0, srgb.blue() / 255.0});
        if (onChoose) onChoose();
    });
    dialog_->show();
}

}  // namespace lumivastor::ui
