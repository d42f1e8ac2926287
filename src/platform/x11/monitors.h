// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/pictures/pixel_rect.h"
#include "platform/shareable_content.h"
#include "platform/x11/screen_scales.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

struct MonitorList {
    std::vector<platform::Display> displays;  // in the server's order
    std::uint32_t mainID = 0;                 // the primary one, or else the first; 0 when there is none
};

/// The monitors as displays. A display's id is the server's number for its name: it stays while the server runs, also
/// when the monitor is plugged out and in again. A server that knows no monitors has one display, its whole screen.
/// `environment`: the scales from the environment; what the resource database says is read here.
MonitorList readMonitors(const XConnection& connection, const ScreenScales& environment);

/// The display with the largest share of these pixels; the main one when there is no such.
const platform::Display* displayOf(const MonitorList& monitors, const platform::PixelRect& pixels);

/// A window's content on the whole desktop, in pixels: its inside without the shadow that it draws itself. Nothing when
/// the window is gone.
std::optional<platform::PixelRect> contentPixels(const XConnection& connection, std::uint32_t window);

/// The size of the whole desktop in pixels; all 0 when the server is gone.
platform::PixelRect readRootBounds(const XConnection& connection);

}  // namespace lumivastor::x11
