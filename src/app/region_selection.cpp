// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/region_selection.h"

#include <algorithm>
#include <cmath>

#include "base/formatted.h"

namespace lumivastor::app {

namespace {

/// A smaller drag counts as a click.
constexpr double kSmallestSide = 60;
/// How far the label's centre lies below the rectangle, and how near to the overlay's bottom it may come.
constexpr double kLabelDistance = 18;
constexpr double kLabelMargin = 14;

Rect spanned(Point a, Point b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x), std::abs(a.y - b.y)};
}

}  // namespace

void RegionSelection::mouseDragged(Point point) {
    if (start_) current_ = inside(point);
}

std::optional<Rect> RegionSelection::mouseUp(Point point) {
    if (!start_) return std::nullopt;
    const Rect rect = spanned(*start_, inside(point));
    start_.reset();
    current_.reset();
    if (rect.width < kSmallestSide || rect.height < kSmallestSide) return std::nullopt;
    return rect;
}

std::optional<Rect> RegionSelection::hole() const {
    if (!start_) return std::nullopt;
    const Rect rect = spanned(*start_, *current_);
    return rect.width > 2 ? std::optional(rect) : std::nullopt;
}

std::optional<OverlayLabel> RegionSelection::label() const {
    if (!start_) {
        return OverlayLabel{
            "Ausschnitt mit der Maus aufziehen – Esc bricht ab", 20, {overlay_.width / 2, overlay_.height / 2}};
    }
    const auto rect = hole();
    if (!rect) return std::nullopt;
    return OverlayLabel{formatted("%.0f × %.0f", std::trunc(rect->width), std::trunc(rect->height)),
                        13,
                        {rect->midX(), std::min(rect->maxY() + kLabelDistance, overlay_.height - kLabelMargin)}};
}

Point RegionSelection::inside(Point point) const {
    return {std::clamp(point.x, 0.0, overlay_.width), std::clamp(point.y, 0.0, overlay_.height)};
}

Rect displayRect(const Rect& overlayRect, double pixelsPerOverlayPoint, const platform::Display& display) {
    const double factor = pixelsPerOverlayPoint / display.scale;
    return {overlayRect.x * factor, overlayRect.y * factor, overlayRect.width * factor, overlayRect.height * factor};
}

}  // namespace lumivastor::app
