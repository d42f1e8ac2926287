// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "base/geometry.h"
#include "base/pixel_size.h"
#include "platform/capture_device.h"
#include "platform/pictures/pixel_rect.h"
#include "platform/shareable_content.h"

namespace lumivastor::x11 {

/// The pixels of the whole desktop that a picture of a display, or of a part of it, shows from its top-left corner on:
/// never more than the picture holds. May reach over the desktop's edge. `sourceRect` as in `StreamConfiguration`.
platform::PixelRect captureArea(const platform::Display& display, const std::optional<Rect>& sourceRect,
                                PixelSize picture);

}  // namespace lumivastor::x11
