// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/studio_layers.h"

#include <algorithm>

namespace lumivastor::edit {

StudioLayers makeStudioLayers(const StudioLayout& layout, const model::ProjectSettings& settings,
                              imaging::PreparedLayers& cache) {
    const int width = layout.canvas.width;
    const int height = layout.canvas.height;
    const Rect& screen = layout.screenRect;
    StudioLayers layers;
    layers.background = imaging::Picture(
        cache.background(width, height, {settings.backgroundRed, settings.backgroundGreen, settings.backgroundBlue}));
    layers.ringImage = imaging::Picture(cache.ring());
    layers.ringSize = layers.ringImage.extent().width;
    if (!screen.isEmpty()) {
        const double radius = std::clamp(settings.cornerRadius, 0.0, std::min(screen.width, screen.height) / 2);
        layers.maskImage = imaging::Picture(cache.roundedMatte(width, height, screen, radius));
        layers.shadowImage = imaging::Picture(cache.roundedShadow(width, height, screen, radius));
    }
    if (!layout.bubbleRect.isEmpty()) {
        layers.bubbleMask = imaging::Picture(cache.ellipseMatte(width, height, layout.bubbleRect));
        layers.bubbleBorder = imaging::Picture(cache.bubbleBorder(width, height, layout.bubbleRect));
    }
    return layers;
}

}  // namespace lumivastor::edit
