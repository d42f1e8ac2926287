// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/preview_view.h"

#include <QImage>
#include <QPainter>
#include <cmath>
#include <utility>

#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

constexpr double kStageRadius = 6;
// In a smaller view the user could not see what a click hits.
constexpr QSize kLeastSize(320, 180);

}  // namespace

PreviewView::PreviewView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(kLeastSize);
    setAccessibleName("Vorschau");
}

void PreviewView::setCanvas(PixelSize canvas) {
    canvas_ = canvas;
    update();
}

void PreviewView::setFrame(std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame, bool isExact) {
    isStandIn_ = !isExact;
    if (frame == frame_) return;
    frame_ = std::move(frame);
    update();
}

PixelSize PreviewView::pixelSize() const {
    const double ratio = devicePixelRatioF();
    // Down, so that no frame is wider than what the view has.
    return {static_cast<int>(std::floor(width() * ratio)), static_cast<int>(std::floor(height() * ratio))};
}

Rect PreviewView::shownRect() const {
    const double ratio = devicePixelRatioF();
    const Rect pixels = shownCanvas(pixelSize(), canvas_);
    return {pixels.x / ratio, pixels.y / ratio, pixels.width / ratio, pixels.height / ratio};
}

void PreviewView::paintEvent(QPaintEvent*) {
    // The only place where the view sees that it moved to a screen with another scale.
    reportSize();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ui::theme::kStage);
    painter.drawRoundedRect(rect(), kStageRadius, kStageRadius);
    painter.setRenderHint(QPainter::Antialiasing, false);
    const Rect shown = shownRect();
    const QRectF target(shown.x, shown.y, shown.width, shown.height);
    if (!frame_ || frame_->isEmpty()) return;
    QImage image(frame_->row(0), frame_->width(), frame_->height(), static_cast<qsizetype>(frame_->stride()),
                 QImage::Format_ARGB32_Premultiplied);
    // Only a frame for another size is resampled: one that is on its way while the window grows, or a canvas that is
    // smaller than the view.
    const double ratio = devicePixelRatioF();
    const bool fits =
        frame_->width() == std::lround(shown.width * ratio) && frame_->height() == std::lround(shown.height * ratio);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !fits);
    painter.drawImage(target, image);
}

void PreviewView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    reportSize();
}

void PreviewView::reportSize() {
    const PixelSize size = pixelSize();
    if (size == reportedSize_ || size.width < 1 || size.height < 1) return;
    reportedSize_ = size;
    if (onResize) onResize(size);
}

}  // namespace lumivastor::editor
