// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/geometry.h"
#include "base/pixel_size.h"
#include "edit/studio_layout.h"

// What no eye can see is no change: the numbers of a frame's recipe are rounded to steps, so that frames in which the
// smoothed cursor merely creeps to its place have equal recipes, and an export repeats its picture. All lengths are
// canvas pixels. Pure functions.

namespace lumivastor::edit {

/// A size, to 1/16 pixel: it is off by 1/32 at most.
double quantised(double pixels);

/// A place on the canvas that a camera magnifies by `scale`, at least 1, afterward: it is off by 1/32 of a magnified
/// pixel at most. Rounded before the magnification, so that what rests on the screen picture also rests on it while the
/// camera moves; the steps are the same for all scales between two powers of 2.
Point quantisedPlace(Point canvasPoint, double scale);

/// An opacity, to what 8 bits can show.
double quantisedOpacity(double opacity);

/// A camera whose view lies inside of the canvas, and still does so afterward. It moves no point of the canvas by more
/// than 1/256 pixel. The steps are finer than those of the cursor, because the camera moves everything: all edges of a
/// page of text are off by the same part of a pixel, which costs more decibels than a small cursor does.
ZoomTransform quantised(const ZoomTransform& zoom, PixelSize canvas);

}  // namespace lumivastor::edit
