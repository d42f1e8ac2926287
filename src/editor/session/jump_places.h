// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "edit/edit_state.h"

// Where keys move the playhead to: the next place where something begins, ends, was clicked or was marked. Times are
// seconds of source time.

namespace lumivastor::editor {

/// The first frame after that of `t` at which a zoom or a cut starts or ends, the video starts or ends, or a click
/// or a mark lies; nullopt behind the last one.
std::optional<double> nextPlace(const edit::EditState& state, double t, std::int64_t fps);

/// The last such frame before that of `t`.
std::optional<double> previousPlace(const edit::EditState& state, double t, std::int64_t fps);

/// The first frame of the video; when `t` is there or before it, the first frame of the recording.
double startPlace(const edit::EditState& state, double t, std::int64_t fps);

/// The last frame of the video; when `t` is there or behind it, the last frame of the recording, which has this
/// duration.
double endPlace(const edit::EditState& state, double t, double duration, std::int64_t fps);

}  // namespace lumivastor::editor
