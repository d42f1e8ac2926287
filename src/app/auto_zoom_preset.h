// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace lumivastor::app {

/// Writes a project document with zooms switched off, unless the folder has one already. Returns whether it wrote one.
/// Throws `RecorderError` when it cannot be written.
bool presetZoomsOff(const std::filesystem::path& folder);

}  // namespace lumivastor::app
