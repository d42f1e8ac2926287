#pragma once

#include <cstdint>

#include "edit/studio_layout.h"

namespace lumivastor {

/// The canvas of an export with so many lines: 16:9, its width in whole pixels rounded down (1440 lines give 2560 x
/// 1440). Throws `RecorderError` for heights that no movie has, as a damaged project document may name them.
CanvasSize exportCanvas(std::int64_t exportHeight);

}  // namespace lumivastor
