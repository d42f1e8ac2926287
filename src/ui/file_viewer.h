// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace lumivastor::ui {

/// Shows a file in the desktop's file viewer, selected in its folder; where the viewer cannot select, or does not
/// answer, its folder is opened. Returns at once. Main thread.
void revealInFileViewer(const std::filesystem::path& file);

}  // namespace lumivastor::ui
