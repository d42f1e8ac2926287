// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/preview/preview_layout.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::editor {

Rect shownCanvas(PixelSize view, PixelSize canvas) {
    if (view.width < 1 || view.height < 1 || canvas.width < 1 || canvas.height < 1) return {};
    const double scale =
        std::min(static_cast<double>(view.width) / canvas.width, static_cast<double>(view.height) / canvas.height);
    const double width = std::clamp(std::round(canvas.width * scale), 1.0, static_cast<double>(view.width));
    const double height = std::clamp(std::round(canvas.height * scale), 1.0, static_cast<double>(view.height));
    return {std::floor((view.width - width) / 2), std::floor((view.height - height) / 2), width, height};
}

Rect canvasRect(const Rect& viewRect, const Rect& shown, PixelSize canvas) {
    if (shown.isEmpty()) return {};
    const double x = canvas.width / shown.width;
    const double y = canvas.height / shown.height;
    return {(viewRect.x - shown.x) * x, (shown.maxY() - viewRect.maxY()) * y, viewRect.width * x, viewRect.height * y};
}

Rect viewRect(const Rect& canvasRect, const Rect& shown, PixelSize canvas) {
    if (canvas.width < 1 || canvas.height < 1) return {};
    const double x = shown.width / canvas.width;
    const double y = shown.height / canvas.height;
    return {shown.x + canvasRect.x * x, shown.maxY() - canvasRect.maxY() * y, canvasRect.width * x,
            canvasRect.height * y};
}

}  // namespace lumivastor::editor
