// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/damage_area.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// Where the samples of two pictures differ, in blocks of 64 x 16 pixels: all that differ, and what lies between a few.
/// Pictures of another size or encoding differ anywhere, and so do those of which most blocks differ; that is known
/// before all of them are compared. Takes 0.5 ms for 2560 x 1440. Any thread.
KnownDamage changedArea(const YuvPicture& before, const YuvPicture& after);

}  // namespace lumivastor::imaging
