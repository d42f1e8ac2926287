// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

// Labels for text that changes while the window stays as it is.

namespace lumivastor::ui {

/// One line that ends in dots where it does not fit; the tool tip then has all of it.
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

/// One line whose digits all take the same room, so that a running time stands still.
class DigitLabel final : public QLabel {
  public:
    explicit DigitLabel(QWidget* parent = nullptr);

    /// Wide enough for this text, whatever digits it has.
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
