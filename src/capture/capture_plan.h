// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "media/encoder_choice/encoder_choice.h"
#include "media/writing/encoders.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"
#include "platform/capture_device.h"
#include "platform/desktop.h"

// Everything that follows from the user's choice before capture starts. Pure functions.

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
platform::PictureSize evenPixelSize(Size points, double scale);

/// "Terminal – Sitzung 1", or the known part of it; nullopt when nothing is known.
std::optional<std::string> windowTitleForInfo(const platform::Window& window);

/// Bits a second of a screen movie: 0.08 bits for each pixel.
std::int64_t averageBitRate(int width, int height, int fps);
/// The same for a device at 60 pictures a second; at least 8,000,000, because device pictures have more motion.
std::int64_t deviceBitRate(int width, int height);
/// The encoding job of a screen recording.
media::EncodingJob screenEncodingJob(platform::PictureSize size, int fps);

inline constexpr std::int64_t kWebcamBitRate = 8'000'000;

/// Whether such a track can be written, and read again.
bool canAddVideo(const media::VideoSettings& settings);

/// Settings of a live movie's track, without the encoder.
media::VideoSettings liveVideoSettings(int width, int height, int fps, std::int64_t bitRate);

/// The timescale of live movies, whose pictures have host clock times. It is exact for 60 and 30 pictures a second and
/// for the timescale 600, and otherwise off by at most 8 microseconds. Microseconds would make tick counts needlessly
/// large.
inline constexpr std::int32_t kLiveTimescale = 60'000;
/// The length of a movie's fragments: the most that a killed recording loses.
inline constexpr MediaTime kFragmentInterval{1200, 600};

/// The capture document as far as it is known when a recording starts.
model::CaptureInfo plannedInfo(const CapturePlan& plan, const CaptureOptions& options);

/// The capture document of a device as far as it is known at its first picture.
model::CaptureInfo plannedDeviceInfo(const std::string& deviceName, platform::PictureSize size, bool deviceAudio,
                                     bool microphone);
model::Geometry deviceGeometry(platform::PictureSize size);

/// A number in the log's format, always with a fraction ("2.0", "1.25").
std::string decimalText(double number);

}  // namespace lumivastor::capture
