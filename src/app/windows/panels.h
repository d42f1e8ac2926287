// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QLabel>
#include <QPoint>
#include <QPushButton>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "app/app_view.h"
#include "app/windows/level_view.h"
#include "capture/recording/webcam_preview.h"

class QScreen;

// Small windows without a title bar that float above everything while the main window is hidden. They never take the
// keyboard focus and are left out of recordings.

namespace lumivastor::ui {
class DigitLabel;
}

namespace lumivastor::app {

/// A floating panel with a dark rounded background, which is opaque without a compositing manager.
class FloatingPanel : public QWidget {
  public:
    struct Look {
        QColor background;
        double radius = 12;
    };
    FloatingPanel(QSize size, const Look& look);

    /// Brings it to the front without taking the keyboard focus.
    void orderFront();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    const Look look_;
    const bool isSeeThrough_;
};

/// The number before a recording, in the middle of a screen. A click on it cancels.
class CountdownWindow final : public FloatingPanel {
  public:
    CountdownWindow(const QScreen& screen, std::function<void()> cancel);

    void setNumber(int number);

  protected:
    void mousePressEvent(QMouseEvent* event) override;

  private:
    const std::function<void()> cancel_;
    QLabel* label_;
};

/// What the user can do during a recording.
struct RecordingActions {
    std::function<void()> stop;
    std::function<void()> togglePause;
    std::function<void()> mark;
};

/// Shown during a recording: its time, buttons for a mark, a pause and the stop, the webcam if it is recorded, and
/// above them a sentence of warning. Can be dragged.
class RecordingPanel final : public FloatingPanel {
  public:
    /// Placed at the lower right of the screen's available area. `preview` may be null. The buttons name the keys.
    RecordingPanel(const QScreen& screen, std::shared_ptr<capture::WebcamPreview> preview, const RecordingKeys& keys,
                   const RecordingActions& actions);

    void setTime(const QString& time);
    void setPaused(bool paused);
    void setMarks(int count);
    /// Shows the levels of these kinds below the buttons, in their order. Call it once, before it is shown.
    void showLevels(const std::vector<platform::SoundBoard::Kind>& kinds, const LevelReader& read);
    /// Grows up and to the left for a sentence of warning, so that everything else stays where it is on the screen.
    /// Empty for none.
    void setHint(const QString& sentence);

  protected:
    // Dragging is implemented here, because no window manager moves this window.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    class Sign;

    QString pauseTip() const;

    const QString pauseKeys_;
    Sign* sign_;
    ui::DigitLabel* time_;
    QPushButton* pauseButton_ = nullptr;
    QPushButton* markButton_ = nullptr;
    QLabel* hint_;
    const bool hasCamera_;
    QSize hintRoom_{0, 0};  // what the panel is larger by
    QPoint grip_;           // the mouse position in the panel during a drag
};

/// Shown before a region is chosen, so that the user can arrange windows first.
class RegionArmPanel final : public FloatingPanel {
  public:
    /// Placed at the top of the screen's available area.
    RegionArmPanel(const QScreen& screen, std::function<void()> proceed, std::function<void()> cancel);
};

}  // namespace lumivastor::app
