// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "capture/capture_plan.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"

// What the capture document says before anything is recorded. Plain functions.

namespace lumivastor::capture {

/// What the capture document says as soon as a recording starts.
model::CaptureInfo plannedInfo(const CapturePlan& plan, const CaptureOptions& options);

/// What the capture document of a device says as soon as its first picture has come.
model::CaptureInfo plannedDeviceInfo(const std::string& deviceName, PixelSize size, bool deviceAudio, bool microphone);
model::Geometry deviceGeometry(PixelSize size);

}  // namespace lumivastor::capture
