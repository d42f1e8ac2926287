// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "app/region_selection.h"

class QScreen;

namespace lumivastor::app {

/// Dims a screen and lets the user drag a rectangle on it. Escape, a click or a too small rectangle cancels.
/// The arrow keys make a rectangle, too: alone they move it, with Ctrl they size it, and the return key takes it.
class PickerView final : public QWidget {
  public:
    /// `background` is painted below the dimming; null when the view is translucent.
    PickerView(QSize size, QPixmap background, QWidget* parent);

    /// Called once, with a rectangle in points of the view, or nullopt if cancelled.
    std::function<void(std::optional<Rect>)> onFinish;

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void finish(std::optional<Rect> rect);
    void drawCenteredText(QPainter& painter, const OverlayLabel& label) const;

    RegionSelection selection_;
    const QPixmap background_;
};

/// Covers a whole screen, in front of everything, and grabs the keyboard itself, without a window manager.
class PickerWindow final : public QWidget {
  public:
    explicit PickerWindow(QScreen& screen);

    PickerView& view() { return *view_; }
    void orderFront();

  private:
    PickerView* view_;
};

/// Fills a screen with a picture of it, for desktops where no window can lie over the screen. The picture keeps its
/// shape, whatever size the desktop gives the window.
class PicturePickerWindow final : public QWidget {
  public:
    /// `screen`: where the picture is shown.
    PicturePickerWindow(QScreen& screen, const QPixmap& picture);

    PickerView& view() { return *view_; }
    void orderFront();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    const QSize picture_;
    PickerView* view_;
};

/// Lets the user drag a rectangle on a screen.
class RegionPicker {
  public:
    /// Passes the rectangle in points of the screen, relative to its top-left corner; nullopt if cancelled.
    /// `completion` is never called before `pick` returns. Cancels a pick in progress.
    void pick(QScreen& screen, std::function<void(std::optional<Rect>)> completion);

    /// The same on a picture of a screen. Passes the size of the shown picture as well, in points.
    void pickOnPicture(QScreen& screen, const QPixmap& picture,
                       std::function<void(std::optional<Rect>, const Size&)> completion);

  private:
    template <typename Window>
    void run(std::unique_ptr<Window> window, std::function<void(std::optional<Rect>)> completion);

    std::unique_ptr<QWidget> window_;
    PickerView* view_ = nullptr;  // of the window
};

}  // namespace lumivastor::app
