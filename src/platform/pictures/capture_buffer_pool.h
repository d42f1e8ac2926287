// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "base/pixel_size.h"
#include "imaging/damage_area.h"
#include "imaging/pixel_buffer.h"
#include "platform/capture_device.h"

namespace lumivastor::platform {

/// The pictures of a capture stream: a fixed number of reused buffers. Each remembers what has changed since its last
/// update, so that a small change costs little in a large picture. One thread, except that pictures may be released on
/// any, also after the pool is destroyed.
class CaptureBufferPool {
  public:
    /// `depth`: how many pictures clients may hold at once. All begin opaque and black.
    CaptureBufferPool(PixelSize size, int depth);
    ~CaptureBufferPool();
    CaptureBufferPool(const CaptureBufferPool&) = delete;
    CaptureBufferPool& operator=(const CaptureBufferPool&) = delete;

    /// False while clients hold `depth` pictures.
    bool canTake() const;
    /// Updates a free buffer and makes it the last picture: `paint` fills in the damaged part, the rest is as in the
    /// last picture. It may add to `damage` what else it painted. Programs often repaint equal content: if the damaged
    /// part is equal, the last picture stays and is returned. Null when `paint` returns false. In both cases the buffer
    /// is free again. `canTake` must hold.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> take(
        const imaging::DamageArea& damage, const std::function<bool(imaging::BgraPremultipliedBuffer&)>& paint);
    /// Null before the first. Lives at least until the next one is taken, or until the pool is destroyed.
    const std::shared_ptr<const imaging::BgraPremultipliedBuffer>& last() const { return last_; }

  private:
    struct Slots;

    const PixelSize size_;
    const int depth_;
    const std::shared_ptr<Slots> slots_;  // shared with the pictures that clients hold
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> last_;
};

}  // namespace lumivastor::platform
