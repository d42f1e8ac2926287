// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/status_item.h"

#include <QAction>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <algorithm>

namespace lumivastor::app {

namespace {

const QColor kRed(0xFF, 0x45, 0x3A);
constexpr const char* kToolTip = "Aufnahme stoppen";

QPixmap drawing(int side, const QString& time) {
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kRed);
    const double dot = side * 0.36;
    painter.drawEllipse(QRectF((side - dot) / 2, side * 0.06, dot, dot));
    QFont font = QGuiApplication::font();
    font.setWeight(QFont::DemiBold);
    // The largest font that fits the width for this number of digits.
    font.setPixelSize(side);
    const double width = QFontMetricsF(font).horizontalAdvance(time);
    font.setPixelSize(std::max(1, static_cast<int>(side * std::min(0.5, side / std::max(1.0, width)))));
    painter.setFont(font);
    painter.setPen(kRed);
    painter.drawText(QRectF(0, side * 0.42, side, side * 0.6), Qt::AlignCenter, time);
    return picture;
}

// The part after the sign in "⏺ 0:00".
QString timeIn(const QString& title) {
    return title.section(' ', 1);
}

}  // namespace

QIcon recordingIcon(const QString& time) {
    QIcon icon;
    for (const int side : {22, 24, 32, 48, 64}) icon.addPixmap(drawing(side, time));
    return icon;
}

StatusItem::StatusItem(const QString& title, const std::function<void()>& stop) : menu_(std::make_unique<QMenu>()) {
    setTitle(title);
    icon_.setToolTip(kToolTip);
    QObject::connect(menu_->addAction("Aufnahme stoppen"), &QAction::triggered, &icon_, [stop] { stop(); });
    icon_.setContextMenu(menu_.get());
    QObject::connect(&icon_, &QSystemTrayIcon::activated, &icon_, [stop](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) stop();
    });
    icon_.show();
}

StatusItem::~StatusItem() = default;

void StatusItem::setTitle(const QString& title) {
    icon_.setIcon(recordingIcon(timeIn(title)));
}

void StatusItem::setHint(const QString& sentence) {
    icon_.setToolTip(sentence.isEmpty() ? QString(kToolTip) : sentence + "\n" + kToolTip);
}

}  // namespace lumivastor::app
