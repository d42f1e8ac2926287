// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "base/geometry.h"
#include "base/pixel_rect.h"
#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/shareable_content.h"

namespace lumivastor::platform {

/// The rectangle of the whole desktop, in pixels, that a picture of a display or of a part of it shows. Its corner is
/// the picture's top-left corner; it is never larger than the picture and may extend beyond the desktop. `sourceRect`
/// as in `StreamConfiguration`.
PixelRect captureArea(const Display& display, const std::optional<Rect>& sourceRect, PixelSize picture);

}  // namespace lumivastor::platform
