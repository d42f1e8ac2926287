// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "base/geometry.h"
#include "imaging/pixel_buffer.h"
#include "platform/pictures/damage_area.h"

namespace lumivastor::x11 {

/// Where the pictures of a stream come from: a display or a window. One thread.
class PictureSource {
  public:
    virtual ~PictureSource() = default;

    /// Deals with what the server has told since the last time. What changed is added to `damage`, in pixels of the
    /// picture.
    virtual void update(platform::DamageArea& damage) = 0;
    /// There is nothing to take a picture of at the moment.
    virtual bool isHidden() const = 0;
    /// Why there will never be a picture again; nothing while there may be.
    virtual std::optional<std::string> ended() const = 0;
    /// Where the captured display begins, in the desktop's pixels, when that is news since the last time. Nothing for
    /// windows.
    virtual std::optional<Point> takeOrigin() = 0;
    /// Something that the user should read; nothing most of the time. Each once.
    virtual std::optional<std::string> takeNotice() = 0;
    /// Brings the damaged part of the picture up to date. False when the server refuses.
    virtual bool paint(const platform::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) = 0;
};

/// Makes a part of a picture opaque black.
void fillBlack(imaging::BgraPremultipliedBuffer& picture, const platform::PixelRect& rect);

}  // namespace lumivastor::x11
