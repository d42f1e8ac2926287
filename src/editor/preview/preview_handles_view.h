// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "base/geometry.h"
#include "editor/preview/preview_handles.h"

namespace lumivastor::editor {

/// A layer on the preview that shows what can be taken hold of, and passes on what the pointer does there. It decides
/// nothing.
class PreviewHandlesView final : public QWidget {
  public:
    /// What assistive programs can do with what is selected, as keys do.
    enum class Action { selectNext, left, right, up, down, larger, smaller, remove };

    /// Points of the view, origin top-left.
    struct Outline {
        PreviewItem item;
        Rect rect;
        bool isSelected = false;
        std::vector<Point> handles = {};

        bool operator==(const Outline&) const = default;
    };
    struct Content {
        Rect shown;  // the canvas
        std::vector<Outline> outlines;
        /// What the pointer holds, where it has been taken to; the outline is where it will be.
        std::optional<Outline> held = std::nullopt;

        bool operator==(const Content&) const = default;
    };

    explicit PreviewHandlesView(QWidget* parent = nullptr);

    void setContent(const Content& content);
    const Content& content() const { return content_; }
    /// What is selected, for assistive programs.
    void setSelectedText(const QString& text);

    /// The pointer moves without a button; returns what it would take hold of.
    std::function<Qt::CursorShape(Point point)> onHover;
    /// The pointer has left the view.
    std::function<void()> onLeave;
    /// The left button: pressed, moved while it is held, released.
    std::function<void(Point point)> onPress, onDrag, onRelease;
    std::function<void(Action action)> onAction;
    /// The size has changed.
    std::function<void()> onResize;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    Content content_;
    bool isPressed_ = false;
};

/// The pointer's shape over something that can be held.
Qt::CursorShape pointerShape(const std::optional<PreviewHit>& hit);

}  // namespace lumivastor::editor
