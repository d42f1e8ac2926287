// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "base/pixel_size.h"
#include "edit/studio_layout.h"
#include "editor/preview/preview_layout.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::editor {

/// Shows the player's frames, as large as they fit, pixel by pixel of the screen where they have that size.
class PreviewView final : public QWidget {
  public:
    explicit PreviewView(QWidget* parent = nullptr);

    /// The shape of what is shown.
    void setCanvas(PixelSize canvas);
    void setFrame(std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame);
    const std::shared_ptr<const imaging::BgraPremultipliedBuffer>& frame() const { return frame_; }

    /// The view in pixels of the screen.
    PixelSize pixelSize() const;
    /// Where the canvas is shown, in the view's points, origin top-left.
    Rect shownRect() const;

    /// `pixelSize` is another: the player is to paint for that.
    std::function<void(PixelSize size)> onResize;

    QSize minimumSizeHint() const override { return {320, 180}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void tellSize();

    PixelSize canvas_{16, 9};
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame_;
    PixelSize toldSize_;
};

}  // namespace lumivastor::editor
