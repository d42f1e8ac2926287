// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/frame_painter.h"

#include <cstdint>
#include <utility>

#include "imaging/picture_difference.h"

namespace lumivastor::render {

imaging::KnownDamage FramePainter::differenceFromLast(const imaging::Picture& frame) const {
    if (!last_) return std::nullopt;
    // Recipes that are too long to be told apart in detail may still be equal.
    if (frame == *last_) return imaging::DamageArea();
    return imaging::differenceOf(*last_, frame, canvas_);
}

std::shared_ptr<imaging::PlanarBuffer> FramePainter::paint(imaging::Picture frame, const imaging::KnownDamage& damage,
                                                           imaging::PicturePool& pool) {
    std::shared_ptr<imaging::PlanarBuffer> buffer = pool.makePlanar();
    if (!buffer) return nullptr;
    const std::uint64_t number = history_.add(damage);
    // Until it is painted to the end the buffer holds no frame.
    const imaging::KnownDamage missed = history_.since(std::exchange(buffer->number, 0));
    if (missed) {
        painter_.paint(frame, buffer->destination(), *missed);
    } else {
        painter_.paint(frame, buffer->destination());
    }
    buffer->number = number;
    last_ = std::move(frame);
    return buffer;
}

}  // namespace lumivastor::render
