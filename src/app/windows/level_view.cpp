// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/level_view.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivastor::app {

namespace {

// Milliseconds. Bars fall by 20 dB a second, which is a pixel or two at each beat.
constexpr int kInterval = 40;
// Half a second without a change, and then so late that nobody sees a meter wake up late.
constexpr int kStillBeats = 12;
constexpr int kStillInterval = 120;

constexpr double kLowest = -60;
constexpr double kLoud = -12;
constexpr double kVeryLoud = -3;
constexpr double kClipField = 0.04;  // of the width
constexpr int kHoldLine = 2;

QColor colourAt(double level) {
    if (level >= kVeryLoud) return {0xFF, 0x45, 0x3A};
    return level >= kLoud ? QColor(0xFF, 0xC4, 0x3D) : QColor(0x4C, 0xC3, 0x6B);
}

int wideOf(int width) {
    return static_cast<int>(width * (1 - kClipField));
}

int holdLeft(int hold) {
    return std::max(0, hold - kHoldLine);
}

}  // namespace

double levelPlace(double decibels) {
    return std::clamp(1 - decibels / kLowest, 0.0, 1.0);
}

QRegion changedLevelArea(const LevelBars& before, const LevelBars& now, QSize size) {
    QRegion area;
    const auto add = [&](int from, int to) {
        if (to > from) area += QRect(from, 0, to - from, size.height());
    };
    const auto addBetween = [&](int one, int other) { add(std::min(one, other), std::max(one, other)); };
    addBetween(before.rms, now.rms);
    addBetween(before.peak, now.peak);
    if (before.hold != now.hold) {
        for (const int hold : {before.hold, now.hold}) add(holdLeft(hold), hold);
    }
    if (before.isClipped != now.isClipped) add(wideOf(size.width()), size.width());
    return area;
}

LevelBeat::LevelBeat(LevelReader read) : read_(std::move(read)) {
    timer_.setInterval(kInterval);
    connect(&timer_, &QTimer::timeout, this, &LevelBeat::beat);
}

std::optional<platform::LevelMeter::Reading> LevelBeat::read(platform::SoundBoard::Kind kind) const {
    return read_ ? read_(kind) : std::nullopt;
}

void LevelBeat::begin(LevelView& view) {
    views_.push_back(&view);
    stillBeats_ = 0;
    timer_.start(kInterval);
}

void LevelBeat::end(LevelView& view) {
    std::erase(views_, &view);
    if (views_.empty()) timer_.stop();
}

void LevelBeat::beat() {
    bool isOther = false;
    for (LevelView* each : views_) isOther = each->follow() || isOther;
    stillBeats_ = isOther ? 0 : std::min(stillBeats_ + 1, kStillBeats);
    const int interval = stillBeats_ < kStillBeats ? kInterval : kStillInterval;
    if (timer_.interval() != interval) timer_.setInterval(interval);
}

LevelView::LevelView(QString name, platform::SoundBoard::Kind kind, std::shared_ptr<LevelBeat> beat, QWidget* parent)
    : QWidget(parent), kind_(kind), beat_(std::move(beat)) {
    setAccessibleName(name);
    setToolTip(name);
}

LevelView::~LevelView() {
    beat_->end(*this);
}

void LevelView::showEvent(QShowEvent*) {
    beat_->end(*this);
    beat_->begin(*this);
}

void LevelView::hideEvent(QHideEvent*) {
    beat_->end(*this);
    shown_.reset();
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

std::optional<LevelBars> LevelView::bars() const {
    const auto now = beat_->read(kind_);
    if (!now) return std::nullopt;
    const int wide = wideOf(width());
    const auto place = [wide](double level) { return static_cast<int>(std::lround(wide * levelPlace(level))); };
    return LevelBars{place(now->rms), place(now->peak), place(now->hold), now->isClipped};
}

// Only what looks different is painted: besides the painting, that spares most waiting for the display server, which is
// still reading what was painted last. And at once: another turn of the event loop costs as much as the painting.
bool LevelView::follow() {
    const auto now = bars();
    const auto before = std::exchange(shown_, now);
    if (before == now) return false;
    if (before && now) {
        repaint(changedLevelArea(*before, *now, size()));
        return true;
    }
    // What is behind it need not be painted while it is opaque.
    setAttribute(Qt::WA_OpaquePaintEvent, now.has_value());
    update();
    return true;
}

void LevelView::paintEvent(QPaintEvent* event) {
    if (!shown_) return;
    QPainter painter(this);
    const int wide = wideOf(width());
    painter.setClipRegion(event->region());
    painter.fillRect(event->rect(), QColor(0x3A, 0x3E, 0x46));
    const auto bar = [&](int length, double opacity) {
        painter.setOpacity(opacity);
        int from = 0;
        for (const double end : {kLoud, kVeryLoud, 0.0}) {
            const int to = std::min(length, static_cast<int>(std::lround(wide * levelPlace(end))));
            // The colour of a stretch is that of its levels, which end below its upper end.
            if (to > from) painter.fillRect(from, 0, to - from, height(), colourAt(end - 1));
            from = std::max(from, to);
        }
        painter.setOpacity(1);
    };
    bar(shown_->peak, 0.45);
    bar(shown_->rms, 1);
    if (shown_->hold > 0) {
        const double level = kLowest * (1 - static_cast<double>(shown_->hold) / std::max(1, wide));
        painter.fillRect(holdLeft(shown_->hold), 0, shown_->hold - holdLeft(shown_->hold), height(), colourAt(level));
    }
    if (shown_->isClipped) painter.fillRect(wide, 0, width() - wide, height(), colourAt(0));
}

}  // namespace lumivastor::app
