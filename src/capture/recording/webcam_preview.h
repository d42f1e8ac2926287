// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "imaging/pixel_buffer.h"

namespace lumivastor::capture {

/// The camera's live picture while it is recorded, for display. Any thread.
class WebcamPreview {
  public:
    /// Not mirrored; the view mirrors it. Null before the first picture.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> latest() const {
        const std::lock_guard hold(lock_);
        return latest_;
    }
    void show(std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture) {
        const std::lock_guard hold(lock_);
        latest_ = std::move(picture);
    }

  private:
    mutable std::mutex lock_;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> latest_;  // guarded by lock_
};

}  // namespace lumivastor::capture
