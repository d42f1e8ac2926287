// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "edit/edit_state.h"
#include "editor/timeline/timeline_strip_layout.h"

namespace lumivastor::editor {

/// The small picture below the time slider. A press or drag on it scrubs like the slider.
class TimelineStrip final : public QWidget {
  public:
    /// `margin` as in `layOutTimelineStrip`.
    TimelineStrip(double duration, double margin, QWidget* parent = nullptr);

    void setContent(std::shared_ptr<const edit::EditState> state, std::optional<double> pendingCutStart,
                    int selectedZoom);
    void setPlayhead(double seconds);

    /// The user scrubs to a time.
    std::function<void(double seconds)> onScrub;

    const TimelineStripLayout& layoutShown() const { return layout_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    void layOut();
    void scrub(double x);

    const double duration_;
    const double margin_;
    std::shared_ptr<const edit::EditState> state_;
    std::optional<double> pendingCutStart_;
    int selectedZoom_ = -1;
    double playhead_ = 0;
    TimelineStripLayout layout_;
};

}  // namespace lumivastor::editor
