// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "base/geometry.h"

namespace lumivastor::editor {

/// A layer on the preview on which the user draws a rectangle. While drawing is off, pointer events go through it.
class MaskDrawView final : public QWidget {
  public:
    explicit MaskDrawView(QWidget* parent = nullptr);

    bool isDrawing() const { return isDrawing_; }
    void setDrawing(bool drawing);

    /// Whether the picture below is the one to draw on; without it, always. Until it is, pressing does nothing.
    std::function<bool()> isReady;
    /// The user has drawn a rectangle: points of the view, origin top-left, more than 4 wide and high.
    std::function<void(const Rect& rect)> onFinish;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    bool isDrawing_ = false;
    std::optional<Point> startPoint_;
    std::optional<Rect> currentRect_;
};

}  // namespace lumivastor::editor
