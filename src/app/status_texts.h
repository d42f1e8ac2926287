// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "capture/recording/device_recorder.h"
#include "capture/recording/recorder.h"
#include "render/cursor_renderer.h"

// Status texts of the main window that contain numbers. Pure functions.

namespace lumivastor::app {

/// Minutes and seconds, rounded down: "0:59", "75:03".
std::string elapsedText(double seconds);

std::string runningText(const capture::Recorder::Stats& stats);
std::string runningText(const capture::DeviceRecorder::Stats& stats, const std::string& deviceName);

std::string finishedText(const capture::Recorder::Stats& stats, const std::filesystem::path& folder);
std::string finishedText(const capture::DeviceRecorder::Stats& stats);

std::string checkVideoText(const render::CursorRenderer::Result& result);

/// "Ausschnitt: 640 × 360 Punkte"
std::string regionText(const Size& points);

}  // namespace lumivastor::app
