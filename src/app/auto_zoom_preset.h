// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace lumivastor::app {

/// Makes the editor start with zooms switched off: writes a project document that says so. One that is there already is
/// left alone. Whether it wrote one; throws `RecorderError` when the folder refuses it.
bool presetZoomsOff(const std::filesystem::path& folder);

}  // namespace lumivastor::app
