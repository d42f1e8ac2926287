// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QWidget>
#include <memory>

#include "capture/recording/webcam_preview.h"

namespace lumivastor::app {

/// A camera's live picture, mirrored. It fills the view, which has rounded corners.
class CameraView final : public QWidget {
  public:
    /// `radius` of the corners, in points.
    CameraView(QSize size, double radius, QWidget* parent = nullptr);

    /// Null shows an empty frame.
    void setPreview(std::shared_ptr<capture::WebcamPreview> preview);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void look();

    const double radius_;
    std::shared_ptr<capture::WebcamPreview> preview_;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> shown_;
    QTimer timer_;
};

}  // namespace lumivastor::app
