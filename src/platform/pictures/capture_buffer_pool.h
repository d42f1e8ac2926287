// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "base/pixel_size.h"
#include "imaging/pixel_buffer.h"
#include "platform/capture_device.h"
#include "platform/pictures/damage_area.h"

namespace lumivastor::platform {

/// The pictures of a capture stream: a fixed number of buffers that are used again and again. Each remembers what has
/// changed since it was last brought up to date, so that a small change costs little however large the picture is.
/// One thread, except that pictures may be let go on any, also after the store is gone.
class CaptureBufferPool {
  public:
    /// `depth`: how many pictures may be out at once. All begin opaque and black.
    CaptureBufferPool(PixelSize size, int depth);
    ~CaptureBufferPool();
    CaptureBufferPool(const CaptureBufferPool&) = delete;
    CaptureBufferPool& operator=(const CaptureBufferPool&) = delete;

    /// False while `depth` pictures are still being used.
    bool canTake() const;
    /// Brings a free buffer up to date and makes it the last picture: `paint` fills in the damaged part, everything
    /// else is as in the last picture. Programs often paint again what is there already: when the damaged part turns
    /// out to be equal, the last picture stays, and is what is returned. Null when `paint` returns false. In both
    /// cases the buffer is free again. `canTake` must hold.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> take(
        const DamageArea& damage, const std::function<bool(imaging::BgraPremultipliedBuffer&)>& paint);
    /// Null before the first. Lives at least until the next one is taken, or until the store goes.
    const std::shared_ptr<const imaging::BgraPremultipliedBuffer>& last() const { return last_; }

  private:
    struct Slots;

    const PixelSize size_;
    const int depth_;
    const std::shared_ptr<Slots> slots_;  // shared with the pictures that are out
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> last_;
};

}  // namespace lumivastor::platform
