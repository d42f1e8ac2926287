// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "capture/capture_plan.h"
#include "cli/arguments.h"
#include "platform/content_picker.h"

namespace lumivastor::cli {

/// The parsed arguments of `record`.
struct RecordRequest {
    std::size_t displayIndex = 0;
    std::optional<std::uint32_t> windowID;
    std::optional<Rect> region;  // points, relative to the display
    std::optional<std::string> deviceID;
    std::optional<std::filesystem::path> out;
    std::optional<double> seconds;
    int fps = 60;
    bool systemAudio = false;
    bool microphone = false;
    bool webcam = false;
    std::optional<std::string> microphoneName;   // with `microphone`; the default's otherwise
    std::optional<std::string> webcamName;       // with `webcam`
    std::optional<std::string> deviceSoundName;  // with `deviceID`; its own otherwise
    bool deviceSound = true;                     // with `deviceID`
    bool asksAgain = false;                      // where the desktop's dialog chooses
};

extern const std::span<const OptionSpec> kRecordOptions;

/// Throws `UsageError`.
RecordRequest parseRecordRequest(const Arguments& arguments);

/// Finds the requested source. `isPicked`: `content` is what the desktop's dialog granted, whatever its numbers. Throws
/// `RecorderError` when there is no such display or window.
capture::CaptureSource sourceFor(const RecordRequest& request, const platform::ShareableContent& content,
                                 bool isPicked = false);

/// What the desktop's dialog is to be asked for. Throws `RecorderError` when the request names a display or window by
/// another number than 0, or the dialog does not offer its kind.
platform::ContentPicker::Request pickFor(const RecordRequest& request, const platform::ContentPicker::Offer& offer);

/// Finds the requested device. Throws `RecorderError` when there is no such device.
platform::CaptureDevice deviceFor(const std::string& id, const std::vector<platform::CaptureDevice>& devices);

/// The lasting id of the device with this name or id; the first one of that name. Throws `RecorderError`, which lists
/// what there is, when there is none. `kind` with its article: "das Mikrofon".
std::string namedDevice(const std::string& name, const std::string& kind,
                        const std::vector<platform::CaptureDevice>& devices);

/// Throws `RecorderError` when the folder holds a recording already, finished or not.
void requireNoRecording(const std::filesystem::path& folder);

}  // namespace lumivastor::cli
