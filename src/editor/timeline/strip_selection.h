// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "model/project_settings.h"

namespace lumivastor::editor {

/// What is selected on the strip: a zoom (its index among those in force) or a cut (its index among the settings'
/// cuts).
struct StripSelection {
    enum class Kind : std::uint8_t { none, zoom, cut };
    Kind kind = Kind::none;
    int index = -1;

    bool operator==(const StripSelection&) const = default;
};

/// The zoom or cut that starts next after the selected one, or before it; the first or the last one if nothing is
/// selected. At either end, the selection stays. `zooms` in the order of their starts.
StripSelection neighbourOf(const StripSelection& selection, bool isForward, std::span<const model::ZoomSpec> zooms,
                           std::span<const model::CutRange> cuts);

}  // namespace lumivastor::editor
