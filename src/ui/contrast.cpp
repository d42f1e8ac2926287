// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/contrast.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::ui {

namespace {

// The threshold is WCAG's, which differs a little from sRGB's own.
double linear(double component) {
    return component <= 0.03928 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

}  // namespace

double relativeLuminance(const QColor& colour) {
    const QColor rgb = colour.toRgb();
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) + 0.0722 * linear(rgb.blueF());
}

double contrast(const QColor& a, const QColor& b) {
    // By values: of two temporaries, references would be left.
    const auto [less, more] = std::minmax({relativeLuminance(a), relativeLuminance(b)});
    return (more + 0.05) / (less + 0.05);
}

QColor blended(const QColor& front, const QColor& back) {
    const float alpha = front.alphaF();
    const auto mixed = [alpha](float over, float under) { return over * alpha + under * (1 - alpha); };
    return QColor::fromRgbF(mixed(front.redF(), back.redF()), mixed(front.greenF(), back.greenF()),
                            mixed(front.blueF(), back.blueF()));
}

}  // namespace lumivastor::ui
