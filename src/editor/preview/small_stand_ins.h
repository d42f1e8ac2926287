// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "playback/stand_in.h"
#include "render/overview/recording_overview.h"

namespace lumivastor::editor {

/// Lets the player show the strip's small pictures until it has decoded better ones. The result may be called on any
/// thread.
playback::SmallStandIns smallStandIns(std::shared_ptr<const render::RecordingOverview> overview);

}  // namespace lumivastor::editor
