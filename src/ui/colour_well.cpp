// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/colour_well.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <algorithm>

#include "ui/theme.h"

namespace lumivastor::ui {

namespace {

QColor shown(const ColourWell::Components& components) {
    const auto limited = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    return QColor::fromRgbF(limited(components.red), limited(components.green), limited(components.blue));
}

// A button whose value is its colour, such as "#1e2a3c".
class AccessibleColourWell final : public QAccessibleWidget {
  public:
    explicit AccessibleColourWell(ColourWell& well) : QAccessibleWidget(&well, QAccessible::Button), well_(well) {}

    QString text(QAccessible::Text which) const override {
        if (which == QAccessible::Value) return shown(well_.components()).name();
        // Few screen readers read the value of a button.
        if (which == QAccessible::Description) {
            return shown(well_.components()).name() + ". " + QAccessibleWidget::text(which);
        }
        return QAccessibleWidget::text(which);
    }
    void setText(QAccessible::Text which, const QString& text) override {
        if (which == QAccessible::Value && QColor::isValidColor(text)) well_.choose(QColor(text));
    }
    QStringList actionNames() const override { return QStringList{pressAction()} + QAccessibleWidget::actionNames(); }
    void doAction(const QString& name) override {
        if (name == pressAction()) return well_.click();
        QAccessibleWidget::doAction(name);
    }

  private:
    ColourWell& well_;
};

QAccessibleInterface* accessibleOf(const QString&, QObject* object) {
    auto* well = dynamic_cast<ColourWell*>(object);
    return well != nullptr ? new AccessibleColourWell(*well) : nullptr;
}

}  // namespace

ColourWell::ColourWell(QWidget* parent) : QAbstractButton(parent) {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
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
    painter.setPen(QPen(hasFocus() ? theme::kFocus : theme::kOutline, hasFocus() ? 2 : 1));
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
    connect(dialog_, &QColorDialog::currentColorChanged, this, [this](const QColor& colour) { choose(colour); });
    dialog_->show();
}

void ColourWell::choose(const QColor& colour) {
    const QColor srgb = colour.toRgb();
    if (!srgb.isValid()) return;
    // The dialog has eight bits for each component.
    setComponents({srgb.red() / 255.0, srgb.green() / 255.0, srgb.blue() / 255.0});
    if (onChoose) onChoose();
}

}  // namespace lumivastor::ui
