#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

#include "capture/device_recorder.h"
#include "capture/recorder.h"

namespace lumivastor {

/// The document that tells of a recording: its figures and its absolute folder; for recoveries whether there was
/// anything to do.
void writeRecordingResult(std::ostream& out, const Recorder::Stats& stats, const std::filesystem::path& folder,
                          std::optional<bool> recovered = std::nullopt);
void writeRecordingResult(std::ostream& out, const DeviceRecorder::Stats& stats, const std::filesystem::path& folder);

/// The same for people.
std::string describeRecording(const Recorder::Stats& stats, const std::filesystem::path& folder);
std::string describeRecording(const DeviceRecorder::Stats& stats, const std::filesystem::path& folder);

/// What a recording that runs is doing, on one line.
std::string runningLine(const Recorder::Stats& stats);
std::string runningLine(const DeviceRecorder::Stats& stats);

}  // namespace lumivastor
