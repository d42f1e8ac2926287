// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/geometry.h"
#include "imaging/damage_area.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::platform {

/// The source of a stream's pictures: a display or a window. One thread.
class PictureSource {
  public:
    virtual ~PictureSource() = default;

    /// Handles the server's events since the last call, and adds what changed to `damage`, in pixels of the picture.
    virtual void update(imaging::DamageArea& damage) = 0;
    /// Whether there is nothing to capture at the moment, as with a hidden window.
    virtual bool isHidden() const = 0;
    /// Why no picture can follow, as a German sentence; nullopt while pictures are possible.
    virtual std::optional<std::string> ended() const = 0;
    /// Whether what came before the end can still be painted after it.
    virtual bool outlastsItsEnd() const { return false; }
    /// The origin of the captured display, in the desktop's pixels, if it changed since the last call. Always nullopt
    /// for windows.
    virtual std::optional<Point> takeOrigin() = 0;
    /// A German sentence for the user, each returned once; nullopt most of the time.
    virtual std::optional<std::string> takeNotice() = 0;
    /// Updates the damaged part of the picture. What else it updates, it adds to `damage`. False when the server
    /// refuses.
    virtual bool paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) = 0;

    /// When the server showed the present content, in host seconds; nullopt where only the time of `update` is known.
    virtual std::optional<double> contentSeconds() const { return std::nullopt; }
    /// `wake` may be called on any thread when content has arrived by itself, so that it is taken before the next tick.
    /// Not called by sources that have to be looked at. Before the first `update`; not called after destruction.
    virtual void onArrival([[maybe_unused]] std::function<void()> wake) {}
};

/// Makes a part of a picture opaque black.
void fillBlack(imaging::BgraPremultipliedBuffer& picture, const PixelRect& rect);

}  // namespace lumivastor::platform
