// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/timeline_strip.h"

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFontMetricsF>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QToolTip>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/timeline/strip_accessible.h"
#include "editor/timeline/strip_ruler.h"
#include "editor/timeline/strip_texts.h"
#include "editor/timeline/strip_wave.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

using Kind = StripPart::Kind;

constexpr int kScrollBarHeight = 10;
// A press that moves less is a click.
constexpr double kDragDistance = 3;
// How near an end must come to what it snaps to, in points.
constexpr double kSnapReach = 7;
constexpr double kWheelZoom = 1.25;   // a notch
constexpr double kWheelScroll = 0.1;  // of what is visible, a notch
constexpr double kNotch = 120;        // Qt's unit
// A pointer that drags outside scrolls this often, in milliseconds, and by this part of what is visible.
constexpr int kAutoScrollPause = 30;
constexpr double kAutoScroll = 0.02;
// The scroll bar counts milliseconds.
constexpr double kScrollSteps = 1000;

int scrollSteps(double seconds) {
    return static_cast<int>(std::lround(std::min(seconds * kScrollSteps, 2e9)));
}

}  // namespace

TimelineStrip::TimelineStrip(double duration, std::int64_t fps, double margin, QWidget* parent)
    : QWidget(parent),
      limits_(visibleLimits(duration, fps)),
      fps_(fps),
      margin_(margin),
      visible_(wholeRange(limits_)),
      scrollBar_(new QScrollBar(Qt::Horizontal, this)) {
    installAccessibleStrip();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    scrollBar_->setObjectName("stripScrollBar");
    scrollBar_->setAccessibleName("Zeitleiste verschieben");
    scrollBar_->setToolTip("Zeitleiste verschieben");
    scrollBar_->setFocusPolicy(Qt::NoFocus);
    scrollBar_->hide();
    connect(scrollBar_, &QScrollBar::valueChanged, this, [this](int value) {
        const double start = value / kScrollSteps;
        showRange(scrolledRange(visible_, start - visible_.start, limits_));
    });
    layOutLanesAgain();
}

void TimelineStrip::setContent(std::shared_ptr<const edit::EditState> state, std::optional<double> pendingCutStart,
                               int selectedZoom) {
    const StripSelection before = selection();
    // A cut stays selected until a zoom is, or until there are other cuts.
    if (selectedZoom != selectedZoom_ && state_ != nullptr) selectedCut_ = -1;
    if (state_ == nullptr || state->settings.cuts.size() != state_->settings.cuts.size()) selectedCut_ = -1;
    state_ = std::move(state);
    pendingCutStart_ = pendingCutStart;
    selectedZoom_ = selectedZoom;
    layOut();
    if (selection() != before) reportSelection();
}

void TimelineStrip::setPlayhead(double seconds) {
    if (seconds == playhead_) return;
    const std::optional<double> before = layout_.playhead;
    playhead_ = seconds;
    // Thirty values a second are of no use to a listener.
    if (QAccessible::isActive() && !isPlaying_) {
        QAccessibleValueChangeEvent changed(this, playhead_);
        QAccessible::updateAccessibility(&changed);
    }
    const bool followsUser = isPlaying_ && !before;
    if (!press_ && !followsUser) {
        const Interval visible = rangeWith(visible_, seconds, limits_);
        if (visible != visible_) return showRange(visible);
    }
    if (pendingCutStart_) return layOut();
    // While it plays, only the playhead is painted.
    const TimeScale at = scale();
    layout_.playhead =
        visible_.start <= seconds && seconds <= visible_.end ? std::optional(at.at(seconds)) : std::nullopt;
    for (const auto& x : {before, layout_.playhead}) {
        if (x) update(QRectF(*x - 6, 0, 12, height()).toAlignedRect());
    }
}

void TimelineStrip::setData(const StripData& shown) {
    if (shown == data_) return;
    data_ = shown;
    layOutLanesAgain();
}

void TimelineStrip::setOverview(std::shared_ptr<const render::RecordingOverview> overview) {
    overview_ = std::move(overview);
    update();
    if (!overview_ || !overview_->isComplete) return;
    soundBeginnings_ = soundBeginnings(*overview_, limits_.duration);
    setData(dataOf(*overview_));
}

void TimelineStrip::zoomBy(double factor) {
    const bool isVisible = visible_.start <= playhead_ && playhead_ <= visible_.end;
    showRange(zoomedRange(visible_, factor, isVisible ? playhead_ : (visible_.start + visible_.end) / 2, limits_));
}

void TimelineStrip::showAll() {
    showRange(wholeRange(limits_));
}

void TimelineStrip::showSelection() {
    const StripSelection selected = selection();
    if (selected.kind == StripSelection::Kind::none) return;
    const auto index = static_cast<std::size_t>(selected.index);
    if (selected.kind == StripSelection::Kind::zoom) {
        const model::ZoomSpec& zoom = state_->zoomSpecs[index];
        showRange(rangeAround({zoom.start, zoom.end}, limits_));
    } else {
        const model::CutRange& cut = state_->settings.cuts[index];
        showRange(rangeAround({cut.start, cut.end}, limits_));
    }
}

StripSelection TimelineStrip::selection() const {
    if (state_ == nullptr) return {};
    if (selectedCut_ >= 0 && selectedCut_ < static_cast<int>(state_->settings.cuts.size())) {
        return {StripSelection::Kind::cut, selectedCut_};
    }
    if (selectedZoom_ < 0 || selectedZoom_ >= static_cast<int>(state_->zoomSpecs.size())) return {};
    return {StripSelection::Kind::zoom, selectedZoom_};
}

void TimelineStrip::selectCut(int index) {
    if (selectedCut_ == index) return;
    selectedCut_ = index;
    update();
    reportSelection();
    if (onSelectionChanged) onSelectionChanged();
}

QString TimelineStrip::valueText() const {
    return QString::fromStdString(stripValue(selection(), content(), visible_));
}

double TimelineStrip::frameSeconds() const {
    return 1.0 / static_cast<double>(std::max<std::int64_t>(fps_, 1));
}

QSize TimelineStrip::sizeHint() const {
    return {200, static_cast<int>(std::ceil(lanes_.height)) + kScrollBarHeight};
}

TimelineStripContent TimelineStrip::content() const {
    TimelineStripContent content;
    content.duration = limits_.duration;
    content.fps = fps_;
    content.playhead = playhead_;
    content.pendingCutStart = pendingCutStart_;
    if (state_) {
        content.trim = state_->trim;
        content.kept = state_->keptSegments;
        content.zooms = state_->zoomSpecs;
        content.cuts = state_->settings.cuts;
        content.clicks = state_->clicks;
        content.marks = state_->marks;
    }
    return content;
}

TimeScale TimelineStrip::scale() const {
    return {visible_, margin_, width() - margin_};
}

StripPart TimelineStrip::partAt(QPointF position) const {
    return stripPartAt(layout_, lanes_, selection(), position.x(), position.y());
}

void TimelineStrip::layOut() {
    layout_ = layOutTimelineStrip(content(), scale(), labelDistance_);
    if (!state_) layout_.trimStart = layout_.trimEnd = std::nullopt;
    update();
}

void TimelineStrip::layOutLanesAgain() {
    smallFont_ = font();
    smallFont_.setPointSizeF(ui::theme::typeScale(QApplication::font()).small * 0.94);
    const QFontMetricsF metrics(smallFont_);
    labelDistance_ = metrics.horizontalAdvance("Bild 88888") + 18;
    lanes_ = layOutLanes(data_, std::ceil(metrics.height()));
    updateGeometry();
    updateScrollBar();
    layOut();
}

void TimelineStrip::showRange(const Interval& visible) {
    if (visible == visible_) return;
    visible_ = visible;
    updateScrollBar();
    layOut();
}

void TimelineStrip::updateScrollBar() {
    const QSignalBlocker quiet(scrollBar_);
    scrollBar_->setGeometry(static_cast<int>(margin_), height() - kScrollBarHeight,
                            std::max(width() - 2 * static_cast<int>(margin_), 0), kScrollBarHeight);
    scrollBar_->setRange(0, scrollSteps(limits_.duration - visible_.length()));
    scrollBar_->setPageStep(std::max(scrollSteps(visible_.length()), 1));
    scrollBar_->setSingleStep(std::max(scrollSteps(visible_.length() * kWheelScroll), 1));
    scrollBar_->setValue(scrollSteps(visible_.start));
    scrollBar_->setVisible(!isWhole(visible_, limits_));
}

void TimelineStrip::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    const TimeScale at = scale();
    const auto position = [&at](const std::optional<double>& seconds) {
        return seconds ? std::optional(at.at(*seconds)) : std::nullopt;
    };
    const QString tag = draggedTo_ ? QString::fromStdString(exactTime(*draggedTo_)) : QString();
    const StripPicture picture{layout_,
                               lanes_,
                               at,
                               selection(),
                               selectedZoom_,
                               hovered_,
                               position(snappedTo_),
                               position(draggedTo_),
                               tag,
                               smallFont_,
                               overview_.get(),
                               state_ ? state_->settings.systemVolume : 1,
                               state_ ? state_->settings.micVolume : 1};
    painter_.paint(painter, picture, event->rect());
    if (!showsFocus_ || !hasFocus()) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ui::theme::kFocus, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(1, lanes_.track.top - 1, width() - 2, lanes_.track.height + 2), 5, 5);
}

void TimelineStrip::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    updateScrollBar();
    layOut();
}

void TimelineStrip::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) layOutLanesAgain();
}

bool TimelineStrip::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) return pinch(event) || QWidget::event(event);
    if (event->type() == QEvent::ToolTip) return showToolTip(event);
    if (event->type() == QEvent::ShortcutOverride && press_) {
        // Alt suspends snapping during a drag and must not open the menu bar.
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

bool TimelineStrip::pinch(QEvent* event) {
    const auto* gesture = static_cast<QNativeGestureEvent*>(event);
    if (gesture->gestureType() != Qt::ZoomNativeGesture) return false;
    showRange(zoomedRange(visible_, 1 + gesture->value(), scale().secondsAt(gesture->position().x()), limits_));
    return true;
}

bool TimelineStrip::showToolTip(QEvent* event) {
    const auto* help = static_cast<QHelpEvent*>(event);
    if (press_) return true;
    const StripPart part = partAt(help->pos());
    const std::string lane = part.kind == Kind::empty ? stripLaneName(lanes_, help->pos().y()) : std::string();
    const std::string text = lane.empty() ? stripToolTip(part, content(), layout_) : lane;
    QToolTip::showText(help->globalPos(), QString::fromStdString(text), this);
    return true;
}

// The pointer

void TimelineStrip::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton && !press_) {
        pan_ = Pan{event->position().x(), visible_.start};
        setCursor(Qt::ClosedHandCursor);
    }
    if (event->button() != Qt::LeftButton || press_ || pan_) return;
    showsFocus_ = false;
    endNudge();
    const double x = event->position().x();
    Press press{partAt(event->position()), x, scale().secondsAt(x), 0, std::nullopt};
    if (press.part.kind == Kind::playhead && layout_.playhead) press.offset = x - *layout_.playhead;
    press.drag = beginStripDrag(press.part, press.seconds, content());
    press_ = press;
    setCursor(pointerShape(press_->part, true));
    if (press_->part.kind == Kind::click) {
        const double click = layout_.clicks[static_cast<std::size_t>(press_->part.index)].seconds;
        press_->offset = x - scale().at(click);
    }
    if (press_->part.isEdited()) {
        select(press_->part);
    } else {
        scrub(x);
    }
    update();
}

void TimelineStrip::mouseMoveEvent(QMouseEvent* event) {
    pointerX_ = event->position().x();
    modifiers_ = event->modifiers();
    if (pan_) {
        const double start = pan_->start - scale().seconds(pointerX_ - pan_->x);
        return showRange(scrolledRange(visible_, start - visible_.start, limits_));
    }
    if (!press_) return hover(partAt(event->position()));
    if (!(event->buttons() & Qt::LeftButton)) return;
    if (!press_->drag) {
        scrub(pointerX_);
    } else {
        dragTo(pointerX_, modifiers_);
    }
    const bool isOutside = pointerX_ < margin_ || pointerX_ > width() - margin_;
    if (!isOutside || isWhole(visible_, limits_)) {
        autoScroll_.stop();
    } else if (!autoScroll_.isActive()) {
        autoScroll_.start(kAutoScrollPause, this);
    }
}

void TimelineStrip::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) {
        pan_.reset();
        hover(partAt(event->position()));
    }
    if (event->button() != Qt::LeftButton || !press_) return;
    endDrag(true);
    hover(partAt(event->position()));
}

void TimelineStrip::mouseDoubleClickEvent(QMouseEvent* event) {
    const StripPart part = partAt(event->position());
    if (event->button() != Qt::LeftButton || !part.isOfZoom()) return mousePressEvent(event);
    select(part);
    command(StripCommand::showZoom, part, scale().secondsAt(event->position().x()));
}

void TimelineStrip::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    if (!press_) hover({});
}

void TimelineStrip::timerEvent(QTimerEvent* event) {
    if (event->timerId() != autoScroll_.timerId()) return QWidget::timerEvent(event);
    if (!press_) return autoScroll_.stop();
    const double way = pointerX_ < margin_ ? -kAutoScroll : kAutoScroll;
    showRange(scrolledRange(visible_, way * visible_.length(), limits_));
    if (!press_->drag) {
        scrub(pointerX_);
    } else {
        dragTo(pointerX_, modifiers_);
    }
}

void TimelineStrip::wheelEvent(QWheelEvent* event) {
    const QPoint angle = event->angleDelta();
    if (event->modifiers() & Qt::ControlModifier) {
        const double notches = angle.y() / kNotch;
        showRange(
            zoomedRange(visible_, std::pow(kWheelZoom, notches), scale().secondsAt(event->position().x()), limits_));
        return event->accept();
    }
    // Nothing to scroll: the wheel may be for what is around the strip.
    if (isWhole(visible_, limits_)) return event->ignore();
    const double notches = (std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y()) / kNotch;
    showRange(scrolledRange(visible_, -notches * kWheelScroll * visible_.length(), limits_));
    event->accept();
}

void TimelineStrip::hover(const StripPart& part) {
    if (part == hovered_ && cursor().shape() == pointerShape(part, false)) return;
    hovered_ = part;
    setCursor(pointerShape(part, false));
    update();
}

void TimelineStrip::scrub(double x) {
    const double seconds = scale().secondsAt(x - press_->offset);
    // A press on a click goes to its time; the drag that may follow scrubs.
    if (onScrub) onScrub(std::clamp(seconds, visible_.start, visible_.end));
}

void TimelineStrip::dragTo(double x, Qt::KeyboardModifiers modifiers) {
    if (!press_->isDragging) {
        if (std::abs(x - press_->x) < kDragDistance) return;
        press_->isDragging = true;
        snapTimes_ = snapTimes(press_->part, content(), soundBeginnings_);
        if (onDragBegin) onDragBegin(press_->part);
    }
    const TimeScale at = scale();
    const double reach = modifiers & Qt::AltModifier ? 0 : at.seconds(kSnapReach);
    const StripDragStep step = stripDragStep(*press_->drag, at.secondsAt(x), snapTimes_, reach);
    snappedTo_ = step.snappedTo;
    if (onDrag) onDrag(step.seconds);
    // What has become of it, which the rules may have stopped.
    const auto now = beginStripDrag(press_->part, 0, content());
    const Kind kind = press_->part.kind;
    const bool isEnd = kind == Kind::zoomEnd || kind == Kind::cutEnd || kind == Kind::trimEnd;
    draggedTo_ = now ? std::optional(isEnd ? now->origin.end : now->origin.start) : std::nullopt;
    update();
}

void TimelineStrip::endDrag(bool isKept) {
    autoScroll_.stop();
    const bool wasDragging = press_ && press_->isDragging;
    press_.reset();
    snapTimes_.clear();
    snappedTo_.reset();
    draggedTo_.reset();
    setCursor(pointerShape(hovered_, false));
    update();
    if (wasDragging && onDragEnd) onDragEnd(isKept);
}

// Selection and commands

void TimelineStrip::select(const StripPart& part) {
    if (part.isOfCut()) selectCut(part.index);
    if (!part.isOfZoom()) return;
    selectCut(-1);
    if (part.index != selectedZoom_ && onSelectZoom) onSelectZoom(part.index);
}

void TimelineStrip::reportSelection() {
    if (!QAccessible::isActive()) return;
    QAccessibleEvent changed(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&changed);
}

void TimelineStrip::deleteSelection() {
    const StripSelection selected = selection();
    if (selected.kind == StripSelection::Kind::zoom) command(StripCommand::deleteZoom, {Kind::zoom, selected.index}, 0);
    if (selected.kind == StripSelection::Kind::cut) command(StripCommand::removeCut, {Kind::cut, selected.index}, 0);
}

void TimelineStrip::command(StripCommand command, const StripPart& part, double seconds) {
    if (command == StripCommand::showAll) return showAll();
    if (command == StripCommand::showSelection) return showSelection();
    if (onCommand) onCommand(command, part, std::clamp(seconds, 0.0, limits_.duration));
}

void TimelineStrip::contextMenuEvent(QContextMenuEvent* event) {
    if (press_ || !state_) return;
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const StripSelection selected = selection();
    const Kind kind = selected.kind == StripSelection::Kind::zoom  ? Kind::zoom
                      : selected.kind == StripSelection::Kind::cut ? Kind::cut
                                                                   : Kind::empty;
    const StripPart part = byKey ? StripPart{kind, selected.index} : partAt(event->pos());
    const double seconds = byKey ? playhead_ : scale().secondsAt(event->pos().x());
    select(part);
    StripMenuState state;
    state.hasPendingCut = pendingCutStart_.has_value();
    state.isTrimmed = state_->trim != edit::TrimRange{0, limits_.duration};
    state.hasManualZooms = state_->settings.zooms.has_value();
    state.hasSelection = selection().kind != StripSelection::Kind::none;
    state.showsAll = isWhole(visible_, limits_);
    auto* menu = new QMenu(this);
    menu->setObjectName("stripMenu");
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const StripMenuItem& item : stripMenu(part, state)) {
        if (item.startsGroup) menu->addSeparator();
        QAction* action = menu->addAction(QString::fromUtf8(item.text));
        action->setEnabled(item.isEnabled);
        connect(action, &QAction::triggered, this,
                [this, command = item.command, part, seconds] { this->command(command, part, seconds); });
    }
    const QPointF place(layout_.playhead.value_or(width() / 2.0), lanes_.track.middle());
    menu->popup(byKey ? mapToGlobal(place).toPoint() : event->globalPos());
}

// The keyboard

void TimelineStrip::keyPressEvent(QKeyEvent* event) {
    modifiers_ = event->modifiers();
    if (press_) {
        // A drag takes all keys: Esc takes it back, Alt suspends snapping.
        if (event->key() == Qt::Key_Escape) endDrag(false);
        if (event->key() == Qt::Key_Alt && press_ && press_->isDragging) {
            dragTo(pointerX_, modifiers_ | Qt::AltModifier);
        }
        return event->accept();
    }
    if (nudge(*event) || selectByKey(*event)) return event->accept();
    if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
        endNudge();
        deleteSelection();
        return event->accept();
    }
    QWidget::keyPressEvent(event);
}

void TimelineStrip::keyReleaseEvent(QKeyEvent* event) {
    modifiers_ = event->modifiers();
    if (press_ && press_->isDragging && event->key() == Qt::Key_Alt) {
        dragTo(pointerX_, modifiers_ & ~Qt::KeyboardModifiers(Qt::AltModifier));
    }
    const bool isArrow = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (isArrow && !event->isAutoRepeat()) endNudge();
    QWidget::keyReleaseEvent(event);
}

// Ctrl and an arrow move what is selected by a frame, Alt its end, Alt and Shift its start. A key that is held is one
// drag.
bool TimelineStrip::nudge(const QKeyEvent& event) {
    if (event.key() != Qt::Key_Left && event.key() != Qt::Key_Right) return false;
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier);
    const StripSelection selected = selection();
    const bool isZoom = selected.kind == StripSelection::Kind::zoom;
    Kind kind = Kind::empty;
    if (modifiers == Qt::ControlModifier) kind = isZoom ? Kind::zoom : Kind::cut;
    if (modifiers == Qt::AltModifier) kind = isZoom ? Kind::zoomEnd : Kind::cutEnd;
    if (modifiers == (Qt::AltModifier | Qt::ShiftModifier)) kind = isZoom ? Kind::zoomStart : Kind::cutStart;
    if (kind == Kind::empty || selected.kind == StripSelection::Kind::none) return false;
    const StripPart part{kind, selected.index};
    if (nudged_ != part) {
        endNudge();
        nudged_ = part;
        if (onDragBegin) onDragBegin(part);
    }
    const auto now = beginStripDrag(part, 0, content());
    const bool isEnd = kind == Kind::zoomEnd || kind == Kind::cutEnd;
    const double by = event.key() == Qt::Key_Left ? -frameSeconds() : frameSeconds();
    if (now && onDrag) onDrag((isEnd ? now->origin.end : now->origin.start) + by);
    return true;
}

// Ctrl and an arrow up or down select the zoom or the cut before or after the selected one.
bool TimelineStrip::selectByKey(const QKeyEvent& event) {
    const bool isForward = event.key() == Qt::Key_Down;
    if (event.key() != Qt::Key_Up && !isForward) return false;
    if ((event.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier)) != Qt::ControlModifier) return false;
    selectNeighbour(isForward);
    return true;
}

void TimelineStrip::selectNeighbour(bool isForward) {
    if (!state_) return;
    endNudge();
    const StripSelection next = neighbourOf(selection(), isForward, state_->zoomSpecs, state_->settings.cuts);
    if (next.kind == StripSelection::Kind::none) return;
    select({next.kind == StripSelection::Kind::zoom ? Kind::zoom : Kind::cut, next.index});
    const auto index = static_cast<std::size_t>(next.index);
    const double start =
        next.kind == StripSelection::Kind::zoom ? state_->zoomSpecs[index].start : state_->settings.cuts[index].start;
    showRange(rangeWith(visible_, start, limits_));
}

void TimelineStrip::endNudge() {
    if (!nudged_) return;
    nudged_.reset();
    if (onDragEnd) onDragEnd(true);
}

void TimelineStrip::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    // As with buttons, a press with the pointer shows no ring.
    showsFocus_ = event->reason() != Qt::MouseFocusReason;
    update();
}

void TimelineStrip::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    endNudge();
    update();
}

}  // namespace lumivastor::editor
