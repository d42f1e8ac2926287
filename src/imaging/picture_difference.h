// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/pixel_size.h"
#include "imaging/damage_area.h"
#include "imaging/picture.h"

namespace lumivastor::imaging {

/// Where a canvas of this size, with (0, 0) of the pictures' space at its bottom-left, may look different when `after`
/// is painted on it in place of `before`; outside of that, painters give the same samples bit for bit. nullopt:
/// anywhere, or nearly. Area in canvas pixels, top-left origin; where a chroma sample differs, its four pixels.
///
/// Compares recipes, not pixels, step by step: a layer that moved is where it was and where it is, a decoded picture
/// differs where its `YuvChange` says. Takes a few microseconds for a film frame, and gives up on recipes of thousands
/// of steps. Any thread.
KnownDamage differenceOf(const Picture& before, const Picture& after, PixelSize canvas);

}  // namespace lumivastor::imaging
