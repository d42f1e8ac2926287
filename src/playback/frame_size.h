// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/affine_transform.h"

namespace lumivastor::playback {

/// In pixels, at least 1 by 1.
struct FrameSize {
    int width = 1;
    int height = 1;

    bool operator==(const FrameSize&) const = default;
};

/// The largest size of the canvas's shape that fits into the one available, and never larger than the canvas.
FrameSize fittedFrame(FrameSize canvas, FrameSize available);

/// From canvas coordinates to those of such a frame.
imaging::AffineTransform scalingTo(FrameSize canvas, FrameSize frame);

}  // namespace lumivastor::playback
