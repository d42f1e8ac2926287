// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/value_slider.h"

#include <QAccessibleWidget>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace lumivastor::ui {

namespace {

/// Gives screen readers the value of a slider and its text, not the count of steps.
class AccessibleValueSlider final : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit AccessibleValueSlider(ValueSlider& slider)
        : QAccessibleWidget(&slider, QAccessible::Slider), slider_(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text which) const override {
        const QString written = slider_.valueText ? QString::fromStdString(slider_.valueText(slider_.doubleValue()))
                                                  : QString::number(slider_.doubleValue());
        if (which == QAccessible::Value) return written;
        // Few screen readers read the value as text; all of them read the description.
        if (which == QAccessible::Description) return written + ". " + QAccessibleWidget::text(which);
        return QAccessibleWidget::text(which);
    }

    QVariant currentValue() const override { return slider_.doubleValue(); }
    void setCurrentValue(const QVariant& value) override { slider_.moveTo(value.toDouble()); }
    QVariant maximumValue() const override { return slider_.range().maximum; }
    QVariant minimumValue() const override { return slider_.range().minimum; }
    QVariant minimumStepSize() const override {
        return (slider_.range().maximum - slider_.range().minimum) * slider_.singleStep() / slider_.maximum();
    }

  private:
    ValueSlider& slider_;
};

QAccessibleInterface* accessibleOf(const QString&, QObject* object) {
    auto* slider = dynamic_cast<ValueSlider*>(object);
    return slider != nullptr ? new AccessibleValueSlider(*slider) : nullptr;
}

}  // namespace

ValueSlider::ValueSlider(ControlRange range, int steps, QWidget* parent)
    : QSlider(Qt::Horizontal, parent), range_(range), value_(range.minimum) {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
    setRange(0, std::max(steps, 1));
    setPageStep(std::max(maximum() / 10, 1));
    setSingleStep(std::max(maximum() / 50, 1));
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QSlider::valueChanged, this, [this](int step) {
        value_ = range_.minimum + (range_.maximum - range_.minimum) * step / maximum();
        notify();
    });
}

void ValueSlider::setDoubleValue(double value) {
    value_ = value;
    const double fraction = std::clamp((value - range_.minimum) / (range_.maximum - range_.minimum), 0.0, 1.0);
    const QSignalBlocker quiet(this);
    setValue(std::isfinite(fraction) ? static_cast<int>(std::lround(fraction * maximum())) : 0);
}

void ValueSlider::moveTo(double value) {
    if (!std::isfinite(value)) return;
    setDoubleValue(std::clamp(value, range_.minimum, range_.maximum));
    notify();
}

void ValueSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        // The handle jumps to the pointer, which then drags it.
        const double length = std::max(width() - 2 * kHandleInset, 1);
        const double fraction = std::clamp((event->position().x() - kHandleInset) / length, 0.0, 1.0);
        // A press on the handle itself does not move it.
        const double handle = kHandleInset + length * value() / maximum();
        if (std::abs(event->position().x() - handle) > kHandleInset) {
            setValue(static_cast<int>(std::lround(fraction * maximum())));
        }
    }
    QSlider::mousePressEvent(event);
}

void ValueSlider::mouseDoubleClickEvent(QMouseEvent* event) {
    if (!default_ || event->button() != Qt::LeftButton) return QSlider::mouseDoubleClickEvent(event);
    setDoubleValue(*default_);
    notify();
}

void ValueSlider::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void ValueSlider::notify() {
    if (onMove) onMove();
}

}  // namespace lumivastor::ui
