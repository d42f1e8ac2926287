// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "app/region_selection.h"

class QScreen;

namespace lumivastor::app {

/// Dims a screen and lets the user drag a rectangle on it. Escape, a click or a too small rectangle cancels.
class PickerView final : public QWidget {
  public:
    /// `background` is painted below the dimming; null when the view is translucent.
    PickerView(QSize size, QPixmap background, QWidget* parent);

    /// Called once, with a rectangle in points of the view, or nullopt if cancelled.
    std::function<void(std::optional<Rect>)> onFinish;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void finish(std::optional<Rect> rect);
    static void drawCenteredText(QPainter& painter, const OverlayLabel& label);

    RegionSelection selection_;
    const QPixmap background_;
};

/// Covers a whole screen, in front of everything, and grabs the keyboard itself, without a window manager.
class PickerWindow final : public QWidget {
  public:
    explicit PickerWindow(QScreen& screen);

    PickerView& view() { return *view_; }
    void orderFront();

  private:
    PickerView* view_;
};

/// Lets the user drag a rectangle on a screen.
class RegionPicker {
  public:
    /// Passes the rectangle in points of the screen, relative to its top-left corner; nullopt if cancelled.
    /// `completion` is never called before `pick` returns. Cancels a pick in progress.
    void pick(QScreen& screen, std::function<void(std::optional<Rect>)> completion);

  private:
    std::unique_ptr<PickerWindow> window_;
};

}  // namespace lumivastor::app
