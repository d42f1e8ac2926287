// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "edit/studio_layout.h"
#include "imaging/affine_transform.h"

namespace lumivastor::edit {

/// A zoom as pictures are transformed; canvas pixels, origin bottom-left.
inline imaging::AffineTransform transformOf(const ZoomTransform& zoom) {
    return {zoom.scale, zoom.scale, zoom.dx, zoom.dy};
}

}  // namespace lumivastor::edit
