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

bool RegionSelection::beginByKeys() {
    if (start_) return false;
    start_ = Point{overlay_.width / 4, overlay_.height / 4};
    current_ = Point{overlay_.width * 3 / 4, overlay_.height * 3 / 4};
    isByKeys_ = true;
    return true;
}

void RegionSelection::moveByKey(Point by) {
    if (beginByKeys() || !isByKeys_) return;
    const double x = std::clamp(by.x, -start_->x, overlay_.width - current_->x);
    const double y = std::clamp(by.y, -start_->y, overlay_.height - current_->y);
    start_ = Point{start_->x + x, start_->y + y};
    current_ = Point{current_->x + x, current_->y + y};
}

void RegionSelection::sizeByKey(Point by) {
    if (beginByKeys() || !isByKeys_) return;
    const auto moved = [](double start, double end, double change, double most) {
        return std::min(std::max(end + change, start + kSmallestSide), most);
    };
    current_ = Point{moved(start_->x, current_->x, by.x, overlay_.width),
                     moved(start_->y, current_->y, by.y, overlay_.height)};
}

std::optional<Rect> RegionSelection::madeByKeys() const {
    if (!start_ || !isByKeys_) return std::nullopt;
    return spanned(*start_, *current_);
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

Rect displayRect(const Rect& overlayRect, const Size& overlay, const platform::Display& display) {
    const double across = display.frame.width / overlay.width;
    const double down = display.frame.height / overlay.height;
    return {overlayRect.x * across, overlayRect.y * down, overlayRect.width * across, overlayRect.height * down};
}

Rect fittedInto(const Size& window, const Size& picture) {
    const double scale = std::min(window.width / picture.width, window.height / picture.height);
    const Size size{picture.width * scale, picture.height * scale};
    return {(window.width - size.width) / 2, (window.height - size.height) / 2, size.width, size.height};
}

}  // namespace lumivastor::app
