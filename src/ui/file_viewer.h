// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace lumivastor::ui {

/// Shows a file, selected in its folder, in the desktop's file viewer. If the viewer cannot select or does not answer,
/// opens the folder. Returns at once. Main thread.
void revealInFileViewer(const std::filesystem::path& file);

/// Opens a file with the desktop's program for it. Returns at once. Main thread.
void playFile(const std::filesystem::path& file);

}  // namespace lumivastor::ui
