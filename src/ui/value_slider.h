// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSlider>
#include <functional>
#include <optional>
#include <string>

#include "ui/control_range.h"

namespace lumivastor::ui {

/// A horizontal slider for a number with fractions. It keeps a value that it is given exactly, also one that lies
/// between its steps or beyond its ends, until it is moved: what a document holds does not change because a control
/// shows it. A click takes the handle there, a double click back to where it stands in a new document; the wheel
/// scrolls what the slider lies in. Assistive programs are told the value, not the step.
class ValueSlider final : public QSlider {
  public:
    explicit ValueSlider(ControlRange range, int steps = 1000, QWidget* parent = nullptr);

    double doubleValue() const { return value_; }
    /// Tells nobody.
    void setDoubleValue(double value);
    /// Where a double click takes it.
    void setDefaultValue(double value) { default_ = value; }

    /// How a value is written for people, for assistive programs; a plain number without it.
    std::function<std::string(double value)> valueText;

    /// The user has moved it.
    std::function<void()> onMove;
    /// Moves it as the user does, to a value within its ends.
    void moveTo(double value);

    const ControlRange& range() const { return range_; }

    /// From the slider's edge to where its handle has its middle at either end.
    static constexpr int kHandleInset = 8;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    void tell();

    const ControlRange range_;
    double value_ = 0;
    std::optional<double> default_;
};

}  // namespace lumivastor::ui
