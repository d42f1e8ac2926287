// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/mask_draw_view.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

// Anything smaller was a click, in points.
constexpr double kLeastSide = 4;

Point pointOf(const QMouseEvent& event) {
    return {event.position().x(), event.position().y()};
}

Rect between(Point a, Point b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x), std::abs(a.y - b.y)};
}

}  // namespace

MaskDrawView::MaskDrawView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName("Bereich zum Verpixeln aufziehen");
}

void MaskDrawView::setDrawing(bool drawing) {
    isDrawing_ = drawing;
    startPoint_.reset();
    currentRect_.reset();
    setAttribute(Qt::WA_TransparentForMouseEvents, !drawing);
    if (drawing) {
        setCursor(Qt::CrossCursor);
    } else {
        unsetCursor();
    }
    update();
}

void MaskDrawView::mousePressEvent(QMouseEvent* event) {
    const bool isFirst = isDrawing_ && event->button() == Qt::LeftButton;
    if (isFirst && (!isReady || isReady())) startPoint_ = pointOf(*event);
}

void MaskDrawView::mouseMoveEvent(QMouseEvent* event) {
    if (!startPoint_) return;
    currentRect_ = between(*startPoint_, pointOf(*event));
    update();
}

void MaskDrawView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    startPoint_.reset();
    const std::optional<Rect> rect = std::exchange(currentRect_, std::nullopt);
    update();
    if (rect && rect->width > kLeastSide && rect->height > kLeastSide && onFinish) onFinish(*rect);
}

void MaskDrawView::paintEvent(QPaintEvent*) {
    if (!isDrawing_) return;
    QPainter painter(this);
    painter.fillRect(rect(), QColor::fromRgbF(0, 0, 0, 0.12F));
    if (!currentRect_) return;
    const QRectF drawn(currentRect_->x, currentRect_->y, currentRect_->width, currentRect_->height);
    QColor fill = ui::theme::kAccent;
    fill.setAlphaF(0.22F);
    painter.fillRect(drawn, fill);
    constexpr double kLine = 2;
    // Between the dashes, so that they are seen on every picture.
    painter.setPen(QPen(ui::theme::kUnder, kLine));
    painter.drawRect(drawn.adjusted(1, 1, -1, -1));
    QPen pen(ui::theme::kAccent, kLine, Qt::CustomDashLine, Qt::FlatCap);
    // A pen counts its pattern in its own width.
    pen.setDashPattern({6 / kLine, 4 / kLine});
    painter.setPen(pen);
    painter.drawRect(drawn.adjusted(1, 1, -1, -1));
}

}  // namespace lumivastor::editor
