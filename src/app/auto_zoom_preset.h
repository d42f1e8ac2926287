// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>

#include "model/project_settings.h"

namespace lumivastor::app {

/// Writes a project document with zooms switched off, unless the folder has one already. A recording with a document is
/// not new to an editor, so it gets `newLook` here, if there is a look of new recordings. Returns whether it wrote one.
/// Throws `RecorderError` when it cannot be written.
bool presetZoomsOff(const std::filesystem::path& folder, const std::optional<model::ProjectSettings>& newLook,
                    bool hasWebcam);

}  // namespace lumivastor::app
