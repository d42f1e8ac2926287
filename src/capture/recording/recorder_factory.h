// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "capture/capture_plan.h"
#include "capture/capture_services.h"
#include "capture/recording/device_recorder.h"
#include "capture/recording/recording_job.h"

namespace lumivastor::capture {

/// What to record of a desktop, and what beside it. The desktop must outlive the recorder.
struct DesktopRecording {
    platform::Desktop& desktop;
    CaptureOptions options;
};
/// The external device to record, and what beside it.
struct DeviceRecording {
    platform::CaptureDevice device;
    DeviceRecorder::Options options;
};
using RecordingRequest = std::variant<DesktopRecording, DeviceRecording>;

/// Makes the recorder for a request: a `Recorder` or a `DeviceRecorder`. `folder` becomes the recording's.
std::unique_ptr<RecordingJob> makeRecorder(const RecordingServices& services, RecordingRequest request,
                                           std::filesystem::path folder);

}  // namespace lumivastor::capture
