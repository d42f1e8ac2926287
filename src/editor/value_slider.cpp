#include "editor/value_slider.h"

#include <QMouseEvent>
#include <QSignalBlocker>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace lumivastor {

ValueSlider::ValueSlider(ControlRange range, int steps, QWidget* parent)
    : QSlider(Qt::Horizontal, parent), range_(range), value_(range.least) {
    setRange(0, std::max(steps, 1));
    setPageStep(std::max(maximum() / 10, 1));
    setSingleStep(std::max(maximum() / 50, 1));
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QSlider::valueChanged, this, [this](int step) {
        value_ = range_.least + (range_.most - range_.least) * step / maximum();
        tell();
    });
}

void ValueSlider::setDoubleValue(double value) {
    value_ = value;
    const double fraction = std::clamp((value - range_.least) / (range_.most - range_.least), 0.0, 1.0);
    const QSignalBlocker quiet(this);
    setValue(std::isfinite(fraction) ? static_cast<int>(std::lround(fraction * maximum())) : 0);
}

void ValueSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        // The handle comes to the pointer, which then has hold of it.
        const double length = std::max(width() - 2 * kHandleInset, 1);
        const double fraction = std::clamp((event->position().x() - kHandleInset) / length, 0.0, 1.0);
        // On the handle itself nothing jumps.
        const double handle = kHandleInset + length * value() / maximum();
        if (std::abs(event->position().x() - handle) > kHandleInset) {
            setValue(static_cast<int>(std::lround(fraction * maximum())));
        }
    }
    QSlider::mousePressEvent(event);
}

void ValueSlider::mouseDoubleClickEvent(QMouseEvent* event) {
    if (!usual_ || event->button() != Qt::LeftButton) return QSlider::mouseDoubleClickEvent(event);
    setDoubleValue(*usual_);
    tell();
}

void ValueSlider::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void ValueSlider::tell() {
    if (moved) moved();
}

}  // namespace lumivastor
