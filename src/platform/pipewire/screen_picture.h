// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/pixel_rect.h"
#include "base/pixel_size.h"
#include "imaging/pixel_buffer.h"
#include "platform/pictures/picture_turn.h"

namespace lumivastor::pipewire {

/// A picture in a buffer of a screen's stream, cut to its crop. A view: valid during the call that hands it over.
struct ScreenPicture {
    /// The top-left pixel of the crop. Four bytes each, red or blue first as `isRedFirst` says.
    const std::uint8_t* pixels = nullptr;
    /// Distance between the starts of two rows in bytes, at least four times the width.
    std::size_t stride = 0;
    bool isRedFirst = false;
    /// The part of the buffer that is the picture, in the buffer's pixels. All of it unless the producer says less, as
    /// for windows. Lies within the buffer and is not empty.
    PixelRect crop;
    /// How the crop's pixels lie; all below is about the upright picture.
    platform::PictureTurn turn = platform::PictureTurn::none;
    /// What changed since the picture handed over before, in pixels of this picture (from the crop's corner, within its
    /// size), also in pictures that were left out between. nullopt: everything may have.
    std::optional<std::vector<PixelRect>> damage;
    /// Host time at which it was shown, or else of its arrival.
    double hostSeconds = 0;

    PixelSize size() const { return platform::uprightSize({crop.width, crop.height}, turn); }
};

/// Copies a part of a picture to the same place in `target`, upright and opaque. Only what lies within both is copied.
void copyOpaque(const ScreenPicture& picture, const PixelRect& part, imaging::BgraPremultipliedBuffer& target);

}  // namespace lumivastor::pipewire
