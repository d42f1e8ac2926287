// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/pixel_size.h"
#include "platform/shareable_content.h"
#include "platform/wayland/portal_screencast.h"

namespace lumivastor::wayland {

/// A screen as the compositor describes it.
struct Output {
    std::string name;  // the connector's; empty when not told
    PixelSize pixels;  // as shown: a rotated screen is rotated here
    Rect frame;        // on the desktop, in the compositor's logical units

    /// Pixels for each logical unit; with fractional scaling not a whole number.
    double scale() const { return frame.width > 0 ? pixels.width / frame.width : 1; }
};

/// The size of a stream's upright pictures, whose buffers have the size `buffer`. Compositors built on wlroots send a
/// turned screen as it lies in its memory; what a picture itself says about that comes later.
PixelSize uprightSize(PixelSize buffer, const std::vector<Output>& outputs);

/// Whether only one screen can be the one with such pictures, whatever the portal tells about its place.
bool isTheOnlyOne(PixelSize pixels, const std::vector<Output>& outputs);

/// The display whose stream has `pixels`, at `id`. Portals of different desktops tell different things about it: its
/// logical place, its size in pixels in place of the logical one, or nothing. So a screen with the same logical frame
/// counts first, then one with the same size in pixels, then the ratio to the size that was told.
platform::Display displayOf(std::uint32_t id, PixelSize pixels, const PortalSession::Place& place,
                            const std::vector<Output>& outputs);

/// Pixels for each point of a window's stream: that of the screens when all have the same, else the ratio to the size
/// that was told, else 1.
double windowScale(PixelSize pixels, const PortalSession::Place& place, const std::vector<Output>& outputs);

}  // namespace lumivastor::wayland
