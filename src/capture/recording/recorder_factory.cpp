// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_factory.h"

#include <utility>

#include "capture/recording/recorder.h"

namespace lumivastor::capture {

std::unique_ptr<RecordingJob> makeRecorder(const RecordingServices& services, RecordingRequest request,
                                           std::filesystem::path folder) {
    if (auto* device = std::get_if<DeviceRecording>(&request)) {
        return std::make_unique<DeviceRecorder>(services, std::move(device->device), device->options,
                                                std::move(folder));
    }
    auto& desktop = std::get<DesktopRecording>(request);
    return std::make_unique<Recorder>(CaptureServices{services, desktop.desktop}, std::move(desktop.options),
                                      std::move(folder));
}

}  // namespace lumivastor::capture
