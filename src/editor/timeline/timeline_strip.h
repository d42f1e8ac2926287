// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBasicTimer>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "edit/edit_state.h"
#include "editor/timeline/strip_drag.h"
#include "editor/timeline/strip_lanes.h"
#include "editor/timeline/strip_menu.h"
#include "editor/timeline/strip_painter.h"
#include "editor/timeline/strip_parts.h"
#include "editor/timeline/strip_selection.h"
#include "editor/timeline/timeline_strip_layout.h"
#include "editor/timeline/visible_range.h"
#include "render/overview/recording_overview.h"

class QScrollBar;

namespace lumivastor::editor {

/// The timeline below the transport: a ruler and the track with zooms, cuts, clicks, trim handles and what the
/// recording looks and sounds like. A press on the ruler or an empty place scrubs like the slider; what is there can be
/// selected and dragged. It shows the whole recording or a part of it, with a scroll bar.
///
/// The strip decides what the pointer and the keys mean and reports it; what follows for the settings is decided by
/// those that it reports to. Times are seconds of source time.
class TimelineStrip final : public QWidget {
  public:
    /// `margin`: the distance of both ends from the widget's edges, as those of the slider's handle. `fps`: of the
    /// recording.
    TimelineStrip(double duration, std::int64_t fps, double margin, QWidget* parent = nullptr);

    void setContent(std::shared_ptr<const edit::EditState> state, std::optional<double> pendingCutStart,
                    int selectedZoom);
    /// A visible playhead stays visible while it plays; when it is moved otherwise, it becomes visible.
    void setPlayhead(double seconds);
    void setPlaying(bool playing) { isPlaying_ = playing; }
    /// Which lanes there are, before their data have come.
    void setData(const StripData& shown);
    /// What the recording looks and sounds like, as far as it is known. Of a complete overview only lanes with data
    /// that is not silence stay, and drags snap to where its sound begins.
    void setOverview(std::shared_ptr<const render::RecordingOverview> overview);

    /// Shows times `factor` times as large, around the playhead if it is visible, or else around the middle.
    void zoomBy(double factor);
    /// Shows the whole recording.
    void showAll();
    /// Shows the selected zoom or cut; nothing happens if there is none.
    void showSelection();
    StripSelection selection() const;
    /// Reports that what is selected is to be deleted; nothing happens if there is nothing.
    void deleteSelection();
    /// Selects the zoom or the cut after the selected one, or before it, and shows it.
    void selectNeighbour(bool isForward);
    /// Selects a cut; -1 leaves the selection to the zooms.
    void selectCut(int index);
    /// The part of the recording that is shown.
    const Interval& visible() const { return visible_; }
    double playhead() const { return playhead_; }
    double duration() const { return limits_.duration; }
    /// The length of a frame.
    double frameSeconds() const;

    /// The user scrubs to a time.
    std::function<void(double seconds)> onScrub;
    /// The user selects a zoom, which `setContent` then shows.
    std::function<void(int index)> onSelectZoom;
    /// `selection` has changed without that.
    std::function<void()> onSelectionChanged;
    /// A drag begins, goes on (`seconds`: the part's start, or its end if that is what is dragged), and ends: the
    /// changes stay, or are taken back.
    std::function<void(const StripPart& part)> onDragBegin;
    std::function<void(double seconds)> onDrag;
    std::function<void(bool isKept)> onDragEnd;
    /// A command of the menu or of a key, for a part and a time.
    std::function<void(StripCommand command, const StripPart& part, double seconds)> onCommand;

    const TimelineStripLayout& layoutShown() const { return layout_; }
    const StripLanes& lanes() const { return lanes_; }
    /// What assistive programs read.
    QString valueText() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

  private:
    /// What the pressed button does.
    struct Press {
        StripPart part;
        double x = 0;
        double seconds = 0;
        /// Of a playhead that is taken hold of beside its middle.
        double offset = 0;
        std::optional<StripDrag> drag;
        bool isDragging = false;
    };

    /// The middle button moves what is shown.
    struct Pan {
        double x = 0;
        double start = 0;  // of the visible range
    };

    TimelineStripContent content() const;
    TimeScale scale() const;
    StripPart partAt(QPointF position) const;
    void layOut();
    void layOutLanesAgain();
    void showRange(const Interval& visible);
    void updateScrollBar();
    void select(const StripPart& part);
    void reportSelection();
    void scrub(double x);
    void dragTo(double x, Qt::KeyboardModifiers modifiers);
    void endDrag(bool isKept);
    void hover(const StripPart& part);
    bool pinch(QEvent* event);
    bool showToolTip(QEvent* event);
    bool selectByKey(const QKeyEvent& event);
    bool nudge(const QKeyEvent& event);
    void endNudge();
    void command(StripCommand command, const StripPart& part, double seconds);

    const VisibleLimits limits_;
    const std::int64_t fps_;
    const double margin_;
    Interval visible_;
    std::shared_ptr<const edit::EditState> state_;
    std::optional<double> pendingCutStart_;
    int selectedZoom_ = -1;
    int selectedCut_ = -1;
    double playhead_ = 0;
    bool isPlaying_ = false;
    StripData data_;
    std::shared_ptr<const render::RecordingOverview> overview_;
    std::vector<double> soundBeginnings_;

    StripLanes lanes_;
    QFont smallFont_;
    double labelDistance_ = 80;
    TimelineStripLayout layout_;
    StripPainter painter_;
    QScrollBar* scrollBar_;

    std::optional<Press> press_;
    std::optional<Pan> pan_;
    std::vector<double> snapTimes_;  // of the drag
    std::optional<double> snappedTo_;
    std::optional<double> draggedTo_;
    double pointerX_ = 0;
    Qt::KeyboardModifiers modifiers_;
    QBasicTimer autoScroll_;  // while the pointer drags outside
    StripPart hovered_;
    std::optional<StripPart> nudged_;  // while an arrow key is held
    bool showsFocus_ = false;
};

}  // namespace lumivastor::editor
