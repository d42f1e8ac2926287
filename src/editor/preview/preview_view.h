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

/// Shows the player's frames as large as they fit. A frame of the shown size is not resampled.
class PreviewView final : public QWidget {
  public:
    explicit PreviewView(QWidget* parent = nullptr);

    /// The canvas gives the aspect ratio of the shown area.
    void setCanvas(PixelSize canvas);
    /// `isExact`: the frame shows the picture of its moment, not a stand-in for it.
    void setFrame(std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame, bool isExact);
    bool isExact() const { return frame_ != nullptr && !isStandIn_; }
    bool isStandIn() const { return isStandIn_; }
    const std::shared_ptr<const imaging::BgraPremultipliedBuffer>& frame() const { return frame_; }

    /// The size of the view in pixels of the screen.
    PixelSize pixelSize() const;
    /// The area of the canvas, in points of the view, origin top-left.
    Rect shownRect() const;

    /// `pixelSize` has changed; the player paints for this size.
    std::function<void(PixelSize size)> onResize;

    QSize minimumSizeHint() const override { return {320, 180}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void reportSize();

    PixelSize canvas_{16, 9};
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> frame_;
    bool isStandIn_ = false;
    PixelSize reportedSize_;
};

}  // namespace lumivastor::editor
