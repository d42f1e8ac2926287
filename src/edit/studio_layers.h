// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "edit/studio_layout.h"
#include "imaging/painting/prepared_layers.h"
#include "imaging/picture.h"
#include "model/project_settings.h"

namespace lumivastor::edit {

/// The pictures of a studio frame that depend on the settings alone, all of the canvas's size except the ring. A
/// picture is empty if there is nothing to show: no screen, no bubble.
struct StudioLayers {
    imaging::Picture background;
    /// Rounded matte of the screen rectangle.
    imaging::Picture maskImage;
    imaging::Picture shadowImage;
    /// A square; see `ringSize`.
    imaging::Picture ringImage;
    /// Side of the ring's picture in its own pixels.
    double ringSize = 256;
    imaging::Picture bubbleMask;
    imaging::Picture bubbleBorder;
};

/// Draws the layers; `cache` returns those that are equal to the last call's.
StudioLayers makeStudioLayers(const StudioLayout& layout, const model::ProjectSettings& settings,
                              imaging::PreparedLayers& cache);

}  // namespace lumivastor::edit
