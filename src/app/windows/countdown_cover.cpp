// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/countdown_cover.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/theme.h"

namespace lumivastor::app {

namespace {

const QColor kCover(0x17, 0x1C, 0x26);
constexpr int kMargin = 40;

}  // namespace

CountdownCover::CountdownCover(QWidget* window, std::function<void()> cancel)
    : QWidget(window), cancel_(std::move(cancel)), number_(new QLabel), note_(new QLabel) {
    setObjectName("countdownCover");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->addStretch(2);
    number_->setObjectName("countdownNumber");
    number_->setStyleSheet("color: white; font-size: 120px; font-weight: bold;");
    number_->setAlignment(Qt::AlignCenter);
    column->addWidget(number_);
    column->addSpacing(ui::theme::kNear);
    note_->setObjectName("countdownNote");
    note_->setProperty("role", "second");
    note_->setTextFormat(Qt::PlainText);
    note_->setWordWrap(true);
    column->addWidget(note_, 0, Qt::AlignHCenter);
    auto* way = new QLabel("Abbrechen: Esc oder Klick");
    way->setProperty("role", "second");
    column->addSpacing(ui::theme::kNear);
    column->addWidget(way, 0, Qt::AlignHCenter);
    column->addStretch(3);
    hide();
}

void CountdownCover::show(const std::optional<Countdown>& countdown) {
    if (countdown) {
        number_->setNum(countdown->number);
        note_->setText(QString::fromStdString(countdown->note));
        // As wide as its longest line, so that it stands in the middle.
        note_->ensurePolished();
        const QSize unwrapped = note_->fontMetrics().size(0, note_->text());
        note_->setFixedWidth(std::min(unwrapped.width() + 1, parentWidget()->width() - 2 * kMargin));
        setAccessibleName("Aufnahme beginnt in " + QString::number(countdown->number));
        raise();
    }
    setVisible(countdown.has_value());
}

void CountdownCover::mousePressEvent(QMouseEvent*) {
    cancel_();
}

void CountdownCover::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), kCover);
}

}  // namespace lumivastor::app
