// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>

#include "edit/cursor_assets.h"
#include "edit/edit_state.h"
#include "edit/recording.h"
#include "edit/studio_layers.h"
#include "imaging/picture.h"

namespace lumivastor::edit {

/// What a frame is composed from. The references must be valid only during the call.
struct FrameIngredients {
    const Recording& recording;
    const EditState& state;
    const StudioLayers& layers;
    const std::map<std::string, CursorAsset>& cursorAssets;
};

/// What the camera does to the frame at source time `t`, as `composeFrame` has it: rounded.
ZoomTransform frameZoom(const EditState& state, double t);

/// The recipe of one finished studio frame, in canvas pixels (origin bottom-left; it may reach beyond the canvas). From
/// the bottom: background, shadow, the screen picture with its masks in its rounded matte, click rings, cursor, webcam
/// bubble. Screen, shadow, rings and cursor go with the camera; background and bubble stay.
///
/// Places, sizes, opacities and the camera are rounded to steps that no eye can see (quantised.h), so that frames which
/// look the same have equal recipes.
///
/// `source` is the screen picture, stretched to the recording's picture size where it has another; `webcam` the
/// camera's picture, none before its first; `t` the source time in seconds. Pure; any thread.
imaging::Picture composeFrame(const FrameIngredients& ingredients, const imaging::Picture& source,
                              const std::optional<imaging::Picture>& webcam, double t);

/// The same without rounding; only tests need it, to see what rounding costs.
imaging::Picture composeExactFrame(const FrameIngredients& ingredients, const imaging::Picture& source,
                                   const std::optional<imaging::Picture>& webcam, double t);

/// How a click's ring looks at an age in seconds since the press: its diameter in source pixels, and its opacity. None
/// before the press and once it has faded.
struct RingLook {
    double diameter = 0;
    double opacity = 0;
};
std::optional<RingLook> ringLook(double age);

}  // namespace lumivastor::edit
