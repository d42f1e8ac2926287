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

/// Dims a screen and lets a rectangle be dragged on it. Escape, a click or a rectangle that is too small cancels.
class PickerView final : public QWidget {
  public:
    /// `background` is painted below the dimming; null where the screen shows through.
    PickerView(QSize size, QPixmap background, QWidget* parent);

    /// Told once, in points of the view; nothing: cancelled.
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

/// Covers one whole screen, in front of everything, and takes the keyboard without a window manager's help.
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
    /// The rectangle in points of the screen, relative to its top-left corner; nothing: cancelled. Not called within
    /// `pick`. One at a time: a pick that is under way is cancelled.
    void pick(QScreen& screen, std::function<void(std::optional<Rect>)> completion);

  private:
    std::unique_ptr<PickerWindow> window_;
};

}  // namespace lumivastor::app
