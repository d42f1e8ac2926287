// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "base/geometry.h"
#include "imaging/pixel_buffer.h"
#include "platform/pictures/damage_area.h"

namespace lumivastor::x11 {

/// The source of a stream's pictures: a display or a window. One thread.
class PictureSource {
  public:
    virtual ~PictureSource() = default;

    /// Handles the server's events since the last call, and adds what changed to `damage`, in pixels of the picture.
    virtual void update(platform::DamageArea& damage) = 0;
    /// Whether there is nothing to capture at the moment, as with a hidden window.
    virtual bool isHidden() const = 0;
    /// Why no picture can follow, as a German sentence; nullopt while pictures are possible.
    virtual std::optional<std::string> ended() const = 0;
    /// The origin of the captured display, in the desktop's pixels, if it changed since the last call. Always nullopt
    /// for windows.
    virtual std::optional<Point> takeOrigin() = 0;
    /// A German sentence for the user, each returned once; nullopt most of the time.
    virtual std::optional<std::string> takeNotice() = 0;
    /// Updates the damaged part of the picture. False when the server refuses.
    virtual bool paint(const platform::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) = 0;
};

/// Makes a part of a picture opaque black.
void fillBlack(imaging::BgraPremultipliedBuffer& picture, const platform::PixelRect& rect);

}  // namespace lumivastor::x11
