// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/text_labels.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace lumivastor::ui {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text) {
    if (text == this->text()) return;
    setText(text);
    updateToolTip();
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance("…"), QLabel::minimumSizeHint().height()};
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(contentsRect(), static_cast<int>(alignment() | Qt::TextSingleLine),
                     fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width()));
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    updateToolTip();
}

void ElidedLabel::updateToolTip() {
    setToolTip(fontMetrics().horizontalAdvance(text()) > contentsRect().width() ? text() : QString());
}

DigitLabel::DigitLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
}

void DigitLabel::reserveFor(const QString& text) {
    reserved_ = text;
    updateGeometry();
}

QSize DigitLabel::minimumSizeHint() const {
    return {static_cast<int>(std::ceil(std::max(widthOf(text()), widthOf(reserved_)))) + 2,
            QLabel::minimumSizeHint().height()};
}

double DigitLabel::advance(QChar character) const {
    const QFontMetricsF metrics(font());
    if (!character.isDigit()) return metrics.horizontalAdvance(character);
    double widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        widest = std::max(widest, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    return widest;
}

double DigitLabel::widthOf(const QString& text) const {
    double width = 0;
    for (const QChar character : text) width += advance(character);
    return width;
}

void DigitLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QFontMetricsF metrics(font());
    const QRect area = contentsRect();
    const double free = area.width() - widthOf(text());
    double x = area.x();
    if (alignment() & Qt::AlignRight) x += free;
    if (alignment() & Qt::AlignHCenter) x += free / 2;
    const double baseline = area.y() + (area.height() - metrics.height()) / 2 + metrics.ascent();
    for (const QChar character : text()) {
        const double room = advance(character);
        painter.drawText(QPointF(x + (room - metrics.horizontalAdvance(character)) / 2, baseline), QString(character));
        x += room;
    }
}

}  // namespace lumivastor::ui
