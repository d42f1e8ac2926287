// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>

// How well colours can be told apart, as WCAG 2.1 defines it.

namespace lumivastor::ui {

/// WCAG's least contrast of text, and of shapes that carry meaning, such as a focus ring.
inline constexpr double kTextContrast = 4.5;
inline constexpr double kShapeContrast = 3;

/// The relative luminance of an sRGB colour: 0 is black, 1 is white. Its alpha does not count.
double relativeLuminance(const QColor& colour);

/// From 1, the same luminance, to 21, black and white. Both colours are opaque; their order does not matter.
double contrast(const QColor& a, const QColor& b);

/// What is seen where `front`, which may be translucent, lies on the opaque `back`.
QColor blended(const QColor& front, const QColor& back);

}  // namespace lumivastor::ui
