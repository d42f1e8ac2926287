// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "base/geometry.h"
#include "capture/recording/recording_job.h"
#include "render/cursor_renderer.h"

// Status texts of the main window that contain numbers. Pure functions.

namespace lumivastor::app {

/// Minutes and seconds, rounded down: "0:59", "75:03".
std::string elapsedText(double seconds);

/// `deviceName` is that of the device that is recorded; nothing when it is the desktop. Figures that are not counted
/// are left out.
std::string runningText(const capture::RecordingJob::Stats& stats, const std::optional<std::string>& deviceName = {});

/// Instead of `runningText` in a pause.
std::string pausedText(const capture::RecordingJob::Stats& stats);

/// Names the folder behind the figures of the desktop.
std::string finishedText(const capture::RecordingJob::Stats& stats, const std::filesystem::path& folder);

std::string checkVideoText(const render::CursorRenderer::Result& result);

/// How a recording is stopped while no window of the program is on the screen. `keys`: those of the shortcut; nullopt
/// without one.
std::string stopWaysText(bool hasStatusItem, const std::optional<std::string>& keys);

/// "Ausschnitt: 640 × 360 Punkte"
std::string regionText(const Size& points);

}  // namespace lumivastor::app
