// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/icons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <algorithm>
#include <memory>
#include <utility>

#include "ui/theme.h"

namespace lumivastor::ui {

namespace {

class TintedDrawing final : public QIconEngine {
  public:
    TintedDrawing(std::shared_ptr<QSvgRenderer> drawing, const QColor& colour)
        : drawing_(std::move(drawing)), colour_(colour) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const qreal ratio = painter->device()->devicePixelRatioF();
        QPixmap picture = pixmap(rect.size() * ratio, mode, state);
        picture.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect.topLeft(), picture);
    }

    // `size` in pixels of the screen.
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        const int side = std::min(size.width(), size.height());
        drawing_->render(&painter, QRectF(0, 0, side, side));
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), mode == QIcon::Disabled ? theme::kDisabledText : colour_);
        return picture;
    }

    QIconEngine* clone() const override { return new TintedDrawing(drawing_, colour_); }

  private:
    std::shared_ptr<QSvgRenderer> drawing_;
    QColor colour_;
};

}  // namespace

QIcon icon(const QString& name, const QColor& colour) {
    return QIcon(new TintedDrawing(std::make_shared<QSvgRenderer>(":/ui/icons/" + name + ".svg"), colour));
}

QIcon icon(const QString& name) {
    return icon(name, theme::kText);
}

}  // namespace lumivastor::ui
