// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/fitted_frame.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::playback {

PixelSize fittedFrame(PixelSize canvas, PixelSize available) {
    const double scale = std::min({1.0, static_cast<double>(available.width) / canvas.width,
                                   static_cast<double>(available.height) / canvas.height});
    const auto scaled = [scale](int length) { return std::max(1, static_cast<int>(std::lround(length * scale))); };
    return {scaled(canvas.width), scaled(canvas.height)};
}

imaging::AffineTransform scalingTo(PixelSize canvas, PixelSize frame) {
    return imaging::AffineTransform::scaling(static_cast<double>(frame.width) / canvas.width,
                                             static_cast<double>(frame.height) / canvas.height);
}

}  // namespace lumivastor::playback
