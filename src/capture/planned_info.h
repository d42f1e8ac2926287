// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "capture/capture_plan.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"
#include "platform/content_picker.h"

// The capture document before anything is recorded. Plain functions.

namespace lumivastor::capture {

/// What the capture document says about the pointer; nullopt when everything is known.
std::optional<model::KnownPointer> knownPointer(platform::PointerKnowledge knowledge);

/// The capture document of a recording that starts.
model::CaptureInfo plannedInfo(const CapturePlan& plan, const CaptureOptions& options);

/// The capture document of a device, once its first picture has come.
model::CaptureInfo plannedDeviceInfo(const std::string& deviceName, PixelSize size, bool deviceAudio, bool microphone);
model::Geometry deviceGeometry(PixelSize size);

}  // namespace lumivastor::capture
