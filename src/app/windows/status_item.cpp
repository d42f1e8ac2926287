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

QPixmap drawing(int side, const QString& time, bool isPaused) {
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kRed);
    const double dot = side * 0.36;
    const QRectF square((side - dot) / 2, side * 0.06, dot, dot);
    if (isPaused) {
        for (const double x : {square.left(), square.right() - 0.36 * dot}) {
            painter.drawRect(QRectF(x, square.top(), 0.36 * dot, dot));
        }
    } else {
        painter.drawEllipse(square);
    }
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

QIcon recordingIcon(const QString& time, bool isPaused) {
    QIcon icon;
    for (const int side : {22, 24, 32, 48, 64}) icon.addPixmap(drawing(side, time, isPaused));
    return icon;
}

StatusItem::StatusItem(const QString& title, const RecordingActions& actions) : menu_(std::make_unique<QMenu>()) {
    setTitle(title);
    icon_.setToolTip(kToolTip);
    const auto add = [this](const char* text, const std::function<void()>& action) {
        QAction* const made = menu_->addAction(text);
        QObject::connect(made, &QAction::triggered, &icon_, [action] { action(); });
        return made;
    };
    add("Aufnahme stoppen", actions.stop);
    pause_ = add("", actions.togglePause);
    add("Marke setzen", actions.mark);
    setPaused(false);
    icon_.setContextMenu(menu_.get());
    QObject::connect(&icon_, &QSystemTrayIcon::activated, &icon_,
                     [stop = actions.stop](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger) stop();
                     });
    icon_.show();
}

StatusItem::~StatusItem() = default;

void StatusItem::setTitle(const QString& title) {
    icon_.setIcon(recordingIcon(timeIn(title), isPaused_));
}

void StatusItem::setPaused(bool paused) {
    isPaused_ = paused;
    pause_->setText(paused ? "Aufnahme fortsetzen" : "Aufnahme pausieren");
}

void StatusItem::setHint(const QString& sentence) {
    icon_.setToolTip(sentence.isEmpty() ? QString(kToolTip) : sentence + "\n" + kToolTip);
}

}  // namespace lumivastor::app
