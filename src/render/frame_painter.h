// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include "base/pixel_size.h"
#include "imaging/damage_history.h"
#include "imaging/painting/painter.h"
#include "imaging/picture.h"
#include "imaging/picture_pool.h"

namespace lumivastor::render {

/// Paints the frames of an export one after the other, each only where it differs from what its buffer holds: a buffer
/// that the encoder has given back still shows an earlier frame. One thread at a time.
class FramePainter {
  public:
    explicit FramePainter(PixelSize canvas) : canvas_(canvas) {}

    /// Where a frame differs from the last one; empty if it looks the same, nullopt if it may differ anywhere.
    imaging::KnownDamage differenceFromLast(const imaging::Picture& frame) const;

    /// Makes `frame`, which looks like the last one, the last one. Decoded pictures say what changed since the one
    /// before, so none may be left out.
    void repeat(imaging::Picture frame) { last_ = std::move(frame); }

    /// Paints the next frame, with `damage` as `differenceFromLast` told it, into a picture of the pool, always the
    /// same one. Null, and nothing has changed, when memory is short.
    std::shared_ptr<imaging::PlanarBuffer> paint(imaging::Picture frame, const imaging::KnownDamage& damage,
                                                 imaging::PicturePool& pool);

  private:
    const PixelSize canvas_;
    imaging::Painter painter_{imaging::paintingThreads()};
    imaging::DamageHistory history_;
    std::optional<imaging::Picture> last_;
};

}  // namespace lumivastor::render
