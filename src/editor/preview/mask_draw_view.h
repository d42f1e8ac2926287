// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <optional>

#include "base/geometry.h"

namespace lumivastor::editor {

/// Lies over the preview and lets a rectangle be drawn on it; when it does not, the pointer goes through it.
class MaskDrawView final : public QWidget {
  public:
    explicit MaskDrawView(QWidget* parent = nullptr);

    bool isDrawing() const { return isDrawing_; }
    void setDrawing(bool drawing);

    /// A rectangle was drawn: points of the view, origin top-left, wider and higher than 4.
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
