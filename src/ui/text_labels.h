// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

// Labels whose text changes without a change of the layout.

namespace lumivastor::ui {

/// One line. Text that does not fit ends in dots, and the tool tip shows all of it.
class ElidedLabel final : public QLabel {
  public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void setFullText(const QString& text);

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void updateToolTip();
};

/// One line whose digits all have the same width, so that a running time does not jitter.
class DigitLabel final : public QLabel {
  public:
    explicit DigitLabel(QWidget* parent = nullptr);

    /// Makes the label wide enough for this text with any digits.
    void reserveFor(const QString& text);

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override { return minimumSizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    double advance(QChar character) const;
    double widthOf(const QString& text) const;

    QString reserved_;
};

}  // namespace lumivastor::ui
