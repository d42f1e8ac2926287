// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/preview_handles_view.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "editor/preview/handles_accessible.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

constexpr double kHandle = 9;  // a handle's side, in points
// Lines lie on a dark one that is wider, so that they are seen on every picture.
constexpr double kLine = 1.5;
constexpr double kUnderLine = 3.5;
const QColor kDimmed(0, 0, 0, 110);

QRectF rectOf(const Rect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

// On whole pixels of the screen, so that its lines are sharp.
QRectF onPixels(const Rect& rect, double ratio) {
    const auto whole = [ratio](double value) { return std::round(value * ratio) / ratio; };
    return {QPointF(whole(rect.minX()), whole(rect.minY())), QPointF(whole(rect.maxX()), whole(rect.maxY()))};
}

void drawShape(QPainter& painter, const PreviewHandlesView::Outline& outline, const QRectF& rect) {
    if (outline.item.kind == PreviewItem::Kind::bubble) {
        painter.drawEllipse(rect);
    } else {
        painter.drawRect(rect);
    }
}

// A handle at the edge of the view lies wholly in it.
Rect handleSquare(Point handle, const QRectF& view) {
    const double inset = kHandle / 2 + 1;
    const double x = std::max(view.left() + inset, std::min(handle.x, view.right() - inset));
    const double y = std::max(view.top() + inset, std::min(handle.y, view.bottom() - inset));
    return {x - kHandle / 2, y - kHandle / 2, kHandle, kHandle};
}

void drawOutline(QPainter& painter, const PreviewHandlesView::Outline& outline, const QRectF& view, double ratio) {
    const QRectF rect = onPixels(outline.rect, ratio);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ui::theme::kUnder, kUnderLine));
    drawShape(painter, outline, rect);
    QPen pen(outline.isSelected ? ui::theme::kAccent : ui::theme::kText, kLine);
    if (!outline.isSelected) pen.setDashPattern({4, 3});
    painter.setPen(pen);
    drawShape(painter, outline, rect);
    for (const Point& handle : outline.handles) {
        painter.setPen(QPen(ui::theme::kOnAccent, 1));
        painter.setBrush(ui::theme::kText);
        painter.drawRoundedRect(onPixels(handleSquare(handle, view), ratio), 2, 2);
    }
}

}  // namespace

PreviewHandlesView::PreviewHandlesView(QWidget* parent) : QWidget(parent) {
    installAccessibleHandles();
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    setAccessibleName("Elemente der Vorschau");
}

void PreviewHandlesView::setContent(const Content& content) {
    if (content == content_) return;
    content_ = content;
    update();
}

void PreviewHandlesView::setSelectedText(const QString& text) {
    if (text == accessibleDescription()) return;
    setAccessibleDescription(text);
    QAccessibleEvent event(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&event);
}

void PreviewHandlesView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    isPressed_ = true;
    if (onPress) onPress({event->position().x(), event->position().y()});
}

void PreviewHandlesView::mouseMoveEvent(QMouseEvent* event) {
    const Point at{event->position().x(), event->position().y()};
    if (isPressed_) {
        if (onDrag) onDrag(at);
    } else if (onHover) {
        setCursor(onHover(at));
    }
}

void PreviewHandlesView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !isPressed_) return;
    isPressed_ = false;
    const Point at{event->position().x(), event->position().y()};
    if (onRelease) onRelease(at);
    if (onHover) setCursor(onHover(at));
}

void PreviewHandlesView::leaveEvent(QEvent*) {
    if (!isPressed_ && onLeave) onLeave();
}

void PreviewHandlesView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (onResize) onResize();
}

void PreviewHandlesView::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    update();
}

void PreviewHandlesView::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    update();
}

void PreviewHandlesView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(rect());
    const double ratio = devicePixelRatioF();
    for (const Outline& outline : content_.outlines) {
        if (outline.item.kind != PreviewItem::Kind::focus || !outline.isSelected) continue;
        // What the zoom does not show.
        QPainterPath around;
        around.addRect(rectOf(content_.shown));
        around.addRect(onPixels(outline.rect, ratio));
        painter.fillPath(around, kDimmed);
    }
    for (const Outline& outline : content_.outlines) drawOutline(painter, outline, QRectF(rect()), ratio);
    if (content_.held) drawOutline(painter, *content_.held, QRectF(rect()), ratio);
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ui::theme::kUnder, 4));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 5, 5);
        painter.setPen(QPen(ui::theme::kFocus, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 5, 5);
    }
}

Qt::CursorShape pointerShape(const std::optional<PreviewHit>& hit) {
    if (!hit) return Qt::ArrowCursor;
    switch (hit->part) {
        case PreviewPart::body:
            return Qt::SizeAllCursor;
        case PreviewPart::topLeft:
        case PreviewPart::bottomRight:
            return Qt::SizeFDiagCursor;
        case PreviewPart::topRight:
        case PreviewPart::bottomLeft:
            return Qt::SizeBDiagCursor;
        case PreviewPart::top:
        case PreviewPart::bottom:
            return Qt::SizeVerCursor;
        case PreviewPart::left:
        case PreviewPart::right:
            return Qt::SizeHorCursor;
    }
    return Qt::ArrowCursor;
}

}  // namespace lumivastor::editor
