// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

#include "base/file_bytes.h"

namespace lumivastor::model {

/// What a recording knows of the pointer when it does not know everything.
enum class KnownPointer {
    positions,  // where it was and how it looked, but no clicks and no scrolling
    embedded,   // nothing; it is painted into the pictures
    none,       // nothing, and it is not in the pictures either
};

/// "capture.json": what was recorded and how. Written once when a recording ends, only read afterwards. The JSON keys
/// are the field names. The optional fields are left out when they have no value; all others are required.
struct CaptureInfo {
    std::int64_t version = 1;
    /// When the document was written: ISO 8601 in UTC with whole seconds, as `timestamp` makes it.
    std::string createdAt;
    /// Id of the captured display; 0 for a window capture.
    std::uint32_t displayID = 0;
    /// Global points, origin top-left. Display and region capture: the display's bounds. Window capture: the window's
    /// frame when the recording started, or all four 0 when it was not known.
    double displayX = 0, displayY = 0, displayWidth = 0, displayHeight = 0;
    /// The captured rectangle in points, relative to the display's origin.
    double contentX = 0, contentY = 0, contentWidth = 0, contentHeight = 0;
    /// Pixels per point of the capture.
    double pointPixelScale = 1;
    /// Size of the movie's pictures in pixels, always even.
    std::int64_t pixelWidth = 0, pixelHeight = 0;
    /// Requested pictures per second.
    std::int64_t fps = 60;
    bool systemAudio = false;
    bool microphone = false;
    /// Host clock seconds of the first written picture: the zero point of all times in "pointer.json".
    double t0HostClock = 0;
    /// Host clock seconds when the session started; the difference to `t0HostClock` is the capture latency.
    double t0MediaTime = 0;
    /// Seconds from the first to the last written picture.
    double duration = 0;
    std::int64_t framesWritten = 0;
    /// Pictures that the capture delivered without new content.
    std::int64_t framesSkippedIdle = 0;
    /// Complete pictures that were dropped because the writer was not ready.
    std::int64_t framesDroppedBackpressure = 0;
    /// Number of samples in "pointer.json".
    std::int64_t pointerEvents = 0;
    std::int64_t cursorPollsWithoutCursor = 0;
    /// "webcam.mov" when a webcam movie was finished.
    std::optional<std::string> webcamFile;
    /// Seconds from `t0HostClock` to the webcam movie's time zero.
    std::optional<double> webcamOffset;
    /// "display", "window", "region", or the device recorder's own value.
    std::optional<std::string> sourceKind;
    std::optional<std::string> windowTitle;
    /// Absent: everything is known, or a device was recorded, which has no pointer.
    std::optional<KnownPointer> pointerKnown;

    bool knowsPositions() const { return !pointerKnown || *pointerKnown == KnownPointer::positions; }
    bool knowsClicks() const { return !pointerKnown; }

    bool operator==(const CaptureInfo&) const = default;

    static std::filesystem::path fileURL(const std::filesystem::path& folder) { return folder / "capture.json"; }

    /// Reads the document of a recording folder. Throws `RecorderError` that names the file and the reason.
    static CaptureInfo load(const std::filesystem::path& folder);

    /// Reads the document from memory. Throws `RecorderError` with only the reason.
    static CaptureInfo parse(const FileBytes& document);

    /// Replaces the folder's document. Throws `RecorderError` when it cannot be written.
    void save(const std::filesystem::path& folder) const;

    /// `time` in the format of `createdAt`: "2024-05-01T09:30:12Z".
    static std::string timestamp(std::time_t time);
};

}  // namespace lumivastor::model
