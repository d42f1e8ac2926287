// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QLabel>
#include <QPoint>
#include <QPushButton>
#include <QWidget>
#include <functional>
#include <memory>

#include "capture/recording/webcam_preview.h"

class QScreen;

// The small windows without a title bar that float over everything while the main window is hidden. They never take the
// keyboard and are no part of any recording.

namespace lumivastor::ui {
class DigitLabel;
}

namespace lumivastor::app {

/// A rounded dark plate that floats. Where nobody composes windows its background is opaque.
class FloatingPanel : public QWidget {
  public:
    struct Look {
        QColor background;
        double radius = 12;
    };
    FloatingPanel(QSize size, const Look& look);

    /// In front of everything, without taking the keyboard.
    void orderFront();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    const Look look_;
    const bool isSeeThrough_;
};

/// The number before a recording, in the middle of a screen.
class CountdownWindow final : public FloatingPanel {
  public:
    explicit CountdownWindow(const QScreen& screen);

    void setNumber(int number);

  private:
    QLabel* label_;
};

/// While something is recorded: its time, a button that stops it, and the webcam where that is recorded. Can be
/// dragged.
class RecordingPanel final : public FloatingPanel {
  public:
    /// At the lower right of the screen's free area. `preview` may be null. `hasShortcut`: keys stop the recording,
    /// too.
    RecordingPanel(const QScreen& screen, std::shared_ptr<capture::WebcamPreview> preview, bool hasShortcut,
                   std::function<void()> stop);

    void setTime(const QString& time);

  protected:
    // No window manager moves it.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

  private:
    ui::DigitLabel* time_;
    QPoint grip_;  // where in the panel the mouse holds it
};

/// Before a region is chosen: waits until the user has arranged the windows.
class RegionArmPanel final : public FloatingPanel {
  public:
    /// At the top of the screen's free area.
    RegionArmPanel(const QScreen& screen, std::function<void()> proceed, std::function<void()> cancel);
};

}  // namespace lumivastor::app
