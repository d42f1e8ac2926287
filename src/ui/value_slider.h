// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSlider>
#include <functional>
#include <optional>
#include <string>

#include "ui/control_range.h"

namespace lumivastor::ui {

/// A horizontal slider for a number with fractions. It keeps the exact value that is set, even between its steps or
/// beyond its ends, until the user moves it: a document does not change because a control shows it. A click moves the
/// handle there, a double click moves it to the default; the wheel scrolls what is around the slider. Assistive
/// programs read the value, not the step.
class ValueSlider final : public QSlider {
  public:
    explicit ValueSlider(ControlRange range, int steps = 1000, QWidget* parent = nullptr);

    double doubleValue() const { return value_; }
    /// Does not call `onMove`.
    void setDoubleValue(double value);
    /// A double click sets this value. Without it, a double click is two clicks.
    void setDefaultValue(double value) { default_ = value; }

    /// Writes a value for assistive programs; if empty, the value is a plain number.
    std::function<std::string(double value)> valueText;

    /// The user has moved the slider.
    std::function<void()> onMove;
    /// Moves the slider as the user does, to the nearest value between its ends.
    void moveTo(double value);

    const ControlRange& range() const { return range_; }

    /// The distance from the widget's edge to the middle of the handle at either end.
    static constexpr int kHandleInset = 8;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    void notify();

    const ControlRange range_;
    double value_ = 0;
    std::optional<double> default_;
};

}  // namespace lumivastor::ui
