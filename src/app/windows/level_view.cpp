// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/level_view.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivastor::app {

namespace {

constexpr int kInterval = 33;  // milliseconds
constexpr double kLowest = -60;
constexpr double kLoud = -12;
constexpr double kVeryLoud = -3;
constexpr double kClipField = 0.04;  // of the width

QColor colourAt(double level) {
    if (level >= kVeryLoud) return {0xFF, 0x45, 0x3A};
    return level >= kLoud ? QColor(0xFF, 0xC4, 0x3D) : QColor(0x4C, 0xC3, 0x6B);
}

}  // namespace

double levelPlace(double decibels) {
    return std::clamp(1 - decibels / kLowest, 0.0, 1.0);
}

LevelView::LevelView(QString name, platform::SoundBoard::Kind kind, LevelReader read, QWidget* parent)
    : QWidget(parent), kind_(kind), read_(std::move(read)) {
    setAccessibleName(name);
    setToolTip(name);
    timer_.setInterval(kInterval);
    connect(&timer_, &QTimer::timeout, this, [this] { update(); });
}

void LevelView::showEvent(QShowEvent*) {
    timer_.start();
}

void LevelView::hideEvent(QHideEvent*) {
    timer_.stop();
    shown_.reset();
}

// What has not changed is not painted again.
void LevelView::update() {
    const auto now = read_ ? read_(kind_) : std::nullopt;
    if (std::exchange(shown_, now) != now) QWidget::update();
}

void LevelView::paintEvent(QPaintEvent*) {
    if (!shown_) return;
    QPainter painter(this);
    const double wide = width() * (1 - kClipField);
    painter.fillRect(rect(), QColor(0x3A, 0x3E, 0x46));
    const auto bar = [&](double level, double opacity) {
        painter.setOpacity(opacity);
        double from = 0;
        for (const double end : {kLoud, kVeryLoud, 0.0}) {
            const double to = wide * levelPlace(std::min(level, end));
            // The colour of a stretch is that of its lower end.
            if (to > from) painter.fillRect(QRectF(from, 0, to - from, height()), colourAt(std::nextafter(end, -100)));
            from = std::max(from, to);
        }
        painter.setOpacity(1);
    };
    bar(shown_->peak, 0.45);
    bar(shown_->rms, 1);
    if (shown_->hold > kLowest) {
        painter.fillRect(QRectF(std::max(0.0, wide * levelPlace(shown_->hold) - 2), 0, 2, height()),
                         colourAt(shown_->hold));
    }
    if (shown_->isClipped) painter.fillRect(QRectF(wide, 0, width() - wide, height()), QColor(0xFF, 0x45, 0x3A));
}

}  // namespace lumivastor::app
