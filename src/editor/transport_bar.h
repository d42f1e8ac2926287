// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "editor/editor_actions.h"

class QLabel;
class QLayout;
class QPushButton;
class QWidget;

namespace lumivastor::ui {
class DigitLabel;
class ValueSlider;
}  // namespace lumivastor::ui

namespace lumivastor::editor {

class TimelineStrip;

/// The transport below the preview: play and step buttons, the playhead's time, the time slider and the video's length
/// in one row, then the strip. Times are seconds of the recording. Main thread.
class TransportBar {
  public:
    /// `duration` in seconds.
    TransportBar(double duration, std::int64_t fps, const EditorActions& actions);
    TransportBar(const TransportBar&) = delete;
    TransportBar& operator=(const TransportBar&) = delete;

    /// Holds all widgets. It belongs to the layout that it is added to.
    QLayout* layout() const { return layout_; }

    void setPlayhead(double seconds);
    void setPlaying(bool playing);
    /// The German text about the length of the finished video.
    void setLength(const std::string& text);
    TimelineStrip& strip() { return *strip_; }

  private:
    QWidget* makeButtons(const EditorActions& actions);
    void makeTimeline(double duration, const EditorActions& actions);

    const std::int64_t fps_;
    QPushButton* playButton_;
    ui::DigitLabel* timeLabel_;
    QLabel* lengthLabel_;
    ui::ValueSlider* timeSlider_;
    TimelineStrip* strip_;
    QLayout* layout_;
};

}  // namespace lumivastor::editor
