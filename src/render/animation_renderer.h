// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "render/composed_frames.h"
#include "render/movie_renderer.h"

namespace lumivastor::render {

/// Exports a part of the edited video as an animated picture, as `RenderOptions` says: the form, which is one of an
/// animated picture, its size and rate. Everything else is as in `renderMovieSync`, which calls this.
RenderResult renderAnimation(const edit::Composition& composition, const FrameMaker& makeFrame,
                             const RenderOptions& options);

}  // namespace lumivastor::render
