// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/quantised.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::edit {

namespace {

constexpr double kStepsPerPixel = 16;
constexpr double kCameraStepsPerPixel = 256;

double rounded(double value, double stepsPerUnit) {
    return std::round(value * stepsPerUnit) / stepsPerUnit;
}

}  // namespace

double quantised(double pixels) {
    return rounded(pixels, kStepsPerPixel);
}

Point quantisedPlace(Point canvasPoint, double scale) {
    const double steps = kStepsPerPixel * std::exp2(std::ceil(std::log2(std::max(scale, 1.0))));
    return {rounded(canvasPoint.x, steps), rounded(canvasPoint.y, steps)};
}

double quantisedOpacity(double opacity) {
    return rounded(opacity, 255);
}

ZoomTransform quantised(const ZoomTransform& zoom, PixelSize canvas) {
    // In the longer direction the scaled canvas ends on a step.
    const double scale = rounded(zoom.scale, kCameraStepsPerPixel * std::max(canvas.width, canvas.height));
    const auto shift = [scale](double wanted, int length) {
        return std::min(std::max(rounded(wanted, kCameraStepsPerPixel), length - length * scale), 0.0);
    };
    return {scale, shift(zoom.dx, canvas.width), shift(zoom.dy, canvas.height)};
}

}  // namespace lumivastor::edit
