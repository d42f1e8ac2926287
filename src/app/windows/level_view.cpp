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
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

int LevelView::wide() const {
    return static_cast<int>(width() * (1 - kClipField));
}

std::optional<LevelView::Bars> LevelView::bars() const {
    const auto now = read_ ? read_(kind_) : std::nullopt;
    if (!now) return std::nullopt;
    const auto place = [this](double level) { return static_cast<int>(std::lround(wide() * levelPlace(level))); };
    return Bars{place(now->rms), place(now->peak), place(now->hold), now->isClipped};
}

// What looks the same is not painted again.
void LevelView::update() {
    const auto now = bars();
    if (std::exchange(shown_, now) == now) return;
    // What is behind it need not be painted, which is most of the work.
    setAttribute(Qt::WA_OpaquePaintEvent, shown_.has_value());
    QWidget::update();
}

void LevelView::paintEvent(QPaintEvent*) {
    if (!shown_) return;
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0x3A, 0x3E, 0x46));
    const auto bar = [&](int length, double opacity) {
        painter.setOpacity(opacity);
        int from = 0;
        for (const double end : {kLoud, kVeryLoud, 0.0}) {
            const int to = std::min(length, static_cast<int>(std::lround(wide() * levelPlace(end))));
            // The colour of a stretch is that of its levels, which end below its upper end.
            if (to > from) painter.fillRect(from, 0, to - from, height(), colourAt(end - 1));
            from = std::max(from, to);
        }
        painter.setOpacity(1);
    };
    bar(shown_->peak, 0.45);
    bar(shown_->rms, 1);
    if (shown_->hold > 0) {
        const double level = kLowest * (1 - static_cast<double>(shown_->hold) / std::max(1, wide()));
        painter.fillRect(std::max(0, shown_->hold - 2), 0, 2, height(), colourAt(level));
    }
    if (shown_->isClipped) painter.fillRect(wide(), 0, width() - wide(), height(), colourAt(0));
}

}  // namespace lumivastor::app
