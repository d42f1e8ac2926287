// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/pixel_rect.h"
#include "platform/shareable_content.h"
#include "platform/x11/screen_scales.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

struct MonitorList {
    std::vector<platform::Display> displays;  // in the server's order
    std::uint32_t mainID = 0;                 // the primary display, or else the first; 0 without displays
};

/// Lists the monitors as displays. A display's id is the atom of its name: it stays while the server runs, also when
/// the monitor is unplugged and plugged in again. A server without monitors has one display, its whole screen.
/// `environment` holds the scales from the environment; those of the resource database are read here.
MonitorList readMonitors(const XConnection& connection, const ScreenScales& environment);

/// The display that holds the largest part of these pixels; the main display when none holds any.
const platform::Display* displayOf(const MonitorList& monitors, const PixelRect& pixels);

/// A window's content on the whole desktop, in pixels: without border and without a shadow that the window draws
/// itself. nullopt when the window is gone.
std::optional<PixelRect> contentPixels(const XConnection& connection, std::uint32_t window);

/// The size of the whole desktop in pixels; all 0 when the server is gone.
PixelRect readRootBounds(const XConnection& connection);

}  // namespace lumivastor::x11
