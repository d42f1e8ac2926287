// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "model/capture_geometry.h"
#include "platform/capture_device.h"
#include "platform/desktop.h"

// How the user's choice is captured, decided before anything is started. Plain functions.

namespace lumivastor::capture {

struct DisplaySource {
    platform::Display display;
};
struct WindowSource {
    platform::Window window;
};
struct RegionSource {
    platform::Display display;
    Rect region;  // points, relative to the display's top-left corner
};
using CaptureSource = std::variant<DisplaySource, WindowSource, RegionSource>;

struct CaptureOptions {
    CaptureSource source;
    std::vector<platform::RunningApplication> excludedApplications;
    int fps = 60;
    bool systemAudio = false;
    bool microphone = false;
    bool webcam = false;
};

/// How a source is captured.
struct CapturePlan {
    platform::ContentFilter filter;
    platform::StreamConfiguration configuration;
    model::Geometry geometry;
    /// The space of all global points of this recording.
    platform::PointSpace space;
    /// For windows only.
    std::optional<std::uint32_t> windowID;
    std::optional<Rect> initialWindowFrame;
    std::optional<std::string> windowTitle;
    /// "display", "window" or "region".
    std::string sourceKind;
    /// 0 for windows.
    std::uint32_t displayID = 0;

    int width() const { return configuration.width; }
    int height() const { return configuration.height; }
};

/// Throws `RecorderError` when the desktop does not allow sources of this kind to be recorded.
void requireRecordable(const CaptureSource& source, const platform::ShareableContent& content);

/// `content` is the desktop's present content: a window or display may have moved since it was chosen. Throws
/// `RecorderError` when the source cannot be recorded, there is no display, or nothing is visible.
CapturePlan planCapture(const CaptureOptions& options, const platform::ShareableContent& content);

/// The size of a movie's pictures for a size in points: rounded to whole pixels, then down to even ones.
PixelSize evenPixelSize(Size points, double scale);

/// "Terminal – Sitzung 1", or the known part of it; nullopt when nothing is known.
std::optional<std::string> windowTitleForInfo(const platform::Window& window);

}  // namespace lumivastor::capture
