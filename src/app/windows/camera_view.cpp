// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/camera_view.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <utility>

#include "ui/theme.h"

namespace lumivastor::app {

namespace {

// Cameras deliver 30 pictures a second.
constexpr int kLookMilliseconds = 33;

}  // namespace

CameraView::CameraView(QSize size, double radius, QWidget* parent) : QWidget(parent), radius_(radius) {
    setFixedSize(size);
    setAccessibleName("Kamerabild");
    connect(&timer_, &QTimer::timeout, this, [this] { look(); });
}

void CameraView::setPreview(std::shared_ptr<capture::WebcamPreview> preview) {
    preview_ = std::move(preview);
    shown_.reset();
    if (preview_) {
        timer_.start(kLookMilliseconds);
    } else {
        timer_.stop();
    }
    update();
}

void CameraView::look() {
    auto latest = preview_->latest();
    if (latest == shown_) return;
    shown_ = std::move(latest);
    update();
}

void CameraView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    QPainterPath frame;
    frame.addRoundedRect(rect(), radius_, radius_);
    painter.fillPath(frame, ui::theme::kControlPressed);
    if (!shown_ || shown_->isEmpty()) return;
    const QImage picture(shown_->row(0), shown_->width(), shown_->height(), static_cast<qsizetype>(shown_->stride()),
                         QImage::Format_ARGB32_Premultiplied);
    // The centre of the picture, cropped to the view's aspect ratio.
    const QSizeF part = QSizeF(size()).scaled(picture.size(), Qt::KeepAspectRatio);
    const QRectF source(QPointF((picture.width() - part.width()) / 2, (picture.height() - part.height()) / 2), part);
    // A brush, because unlike a clip its edge is antialiased.
    QBrush brush(picture);
    QTransform fit;
    fit.translate(width(), 0);
    fit.scale(-width() / source.width(), height() / source.height());
    fit.translate(-source.x(), -source.y());
    brush.setTransform(fit);
    painter.fillPath(frame, brush);
}

}  // namespace lumivastor::app
