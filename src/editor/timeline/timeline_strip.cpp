// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/timeline_strip.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <utility>

#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

constexpr int kHeight = 30;
// Two lanes in a rounded track: zooms above, clicks below.
constexpr double kTrackTop = 1;
constexpr double kTrackHeight = 28;
constexpr double kZoomTop = 5;
constexpr double kZoomHeight = 10;
constexpr double kClickMiddle = 22;
constexpr double kClickRadius = 2;
constexpr double kRadius = 5;

QRectF rectangle(const TimelineStripLayout::Span& span, double top, double height) {
    return {span.left, top, span.right - span.left, height};
}

}  // namespace

TimelineStrip::TimelineStrip(double duration, double margin, QWidget* parent)
    : QWidget(parent), duration_(duration), margin_(margin) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    layOut();
}

void TimelineStrip::setContent(std::shared_ptr<const edit::EditState> state, std::optional<double> pendingCutStart,
                               int selectedZoom) {
    state_ = std::move(state);
    pendingCutStart_ = pendingCutStart;
    selectedZoom_ = selectedZoom;
    layOut();
}

void TimelineStrip::setPlayhead(double seconds) {
    if (seconds == playhead_) return;
    playhead_ = seconds;
    layOut();
}

QSize TimelineStrip::sizeHint() const {
    return {200, kHeight};
}

void TimelineStrip::layOut() {
    TimelineStripContent content;
    content.duration = duration_;
    content.playhead = playhead_;
    content.pendingCutStart = pendingCutStart_;
    if (state_) {
        content.kept = state_->keptSegments;
        content.zooms = state_->zoomSpecs;
        content.clicks = state_->clicks;
    }
    layout_ = layOutTimelineStrip(content, width(), margin_);
    update();
}

void TimelineStrip::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    QPainterPath track;
    track.addRoundedRect(rectangle(layout_.whole, kTrackTop, kTrackHeight), kRadius, kRadius);
    painter.save();
    painter.setClipPath(track);
    // What is left out: dark, with slanted lines.
    painter.fillPath(track, ui::theme::kColumn);
    painter.setPen(QPen(ui::theme::kControl, 1));
    constexpr double kHatch = 7;
    for (double x = layout_.whole.left - kTrackHeight; x < layout_.whole.right; x += kHatch) {
        painter.drawLine(QPointF(x, kTrackTop + kTrackHeight), QPointF(x + kTrackHeight, kTrackTop));
    }
    painter.setPen(Qt::NoPen);
    for (const auto& span : layout_.kept) {
        painter.fillRect(rectangle(span, kTrackTop, kTrackHeight), ui::theme::kControlHover);
    }
    for (std::size_t i = 0; i < layout_.zooms.size(); ++i) {
        const bool selected = static_cast<int>(i) == selectedZoom_;
        QColor colour = ui::theme::kAccent;
        if (!selected) colour.setAlphaF(0.55F);
        painter.setBrush(colour);
        // A hair apart, so that neighbours stay two.
        const QRectF zoom = rectangle(layout_.zooms[i], kZoomTop, kZoomHeight).adjusted(0.5, 0, -0.5, 0);
        painter.drawRoundedRect(zoom, 3, 3);
    }
    painter.setBrush(ui::theme::kSecondText);
    for (const double x : layout_.clicks) painter.drawEllipse(QPointF(x, kClickMiddle), kClickRadius, kClickRadius);
    if (layout_.pendingCut) {
        QColor colour = ui::theme::kText;
        colour.setAlphaF(0.22F);
        painter.fillRect(rectangle(*layout_.pendingCut, kTrackTop, kTrackHeight), colour);
        painter.fillRect(QRectF(layout_.pendingCut->left, kTrackTop, 1.5, kTrackHeight), ui::theme::kText);
    }
    painter.restore();

    painter.setBrush(ui::theme::kText);
    painter.drawRoundedRect(QRectF(layout_.playhead - 1, 0, 2, kHeight), 1, 1);
}

void TimelineStrip::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layOut();
}

void TimelineStrip::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) scrub(event->position().x());
}

void TimelineStrip::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton) scrub(event->position().x());
}

void TimelineStrip::scrub(double x) {
    if (onScrub) onScrub(timelineSecondsAt(x, duration_, width(), margin_));
}

}  // namespace lumivastor::editor
