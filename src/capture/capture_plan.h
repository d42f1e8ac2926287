// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/pixel_size.h"
#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/encoders.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"
#include "platform/capture_device.h"
#include "platform/desktop.h"

// What follows from the user's choice before anything is started. Plain functions.

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
    /// For everything in global points.
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

/// Throws `RecorderError` when the desktop does not let such a source be recorded, whatever it is chosen from.
void requireRecordable(const CaptureSource& source, const platform::ShareableContent& content);

/// `content` is what is there now: a window or display may have moved since it was chosen. Throws `RecorderError` when
/// the source cannot be recorded, there is no display, or nothing to be seen.
CapturePlan planCapture(const CaptureOptions& options, const platform::ShareableContent& content);

/// The size of a movie's pictures for a size in points: rounded to whole pixels, then down to even ones.
PixelSize evenPixelSize(Size points, double scale);

/// "Terminal – Sitzung 1", or what is known of it; nothing when nothing is.
std::optional<std::string> windowTitleForInfo(const platform::Window& window);

/// Bits a second of a movie of the screen: 0.08 for each pixel.
std::int64_t averageBitRate(int width, int height, int fps);
/// The same at 60 pictures a second for a device, whose pictures move more: at least 8,000,000.
std::int64_t deviceBitRate(int width, int height);
/// What encoding a recording of the screen takes.
media::EncodingJob screenEncodingJob(PixelSize size, int fps);

inline constexpr std::int64_t kWebcamBitRate = 8'000'000;

/// Whether such a track can be written, and read again.
bool canAddVideo(const media::VideoSettings& settings);

/// Settings of a live movie's track, but for the encoder.
media::VideoSettings liveVideoSettings(int width, int height, int fps, std::int64_t bitRate);

/// Pictures of live movies come when the host clock says so. A microsecond would make the movie's tick counts
/// needlessly large; this is exact for 60 and 30 pictures a second and for the timescale 600, and off by 8 microseconds
/// at most.
inline constexpr std::int32_t kLiveTimescale = 60'000;
/// What a killed recording loses at most.
inline constexpr MediaTime kFragmentInterval{1200, 600};

/// What the capture document says as soon as a recording starts.
model::CaptureInfo plannedInfo(const CapturePlan& plan, const CaptureOptions& options);

/// What the capture document of a device says as soon as its first picture has come.
model::CaptureInfo plannedDeviceInfo(const std::string& deviceName, PixelSize size, bool deviceAudio, bool microphone);
model::Geometry deviceGeometry(PixelSize size);

/// A number as logs show it: always with a fraction ("2.0", "1.25").
std::string decimalText(double number);

}  // namespace lumivastor::capture
