// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "base/file_bytes.h"

namespace lumivastor::model {

/// Pace of the automatic zooms. The order of the cases is the order in which they are offered.
enum class Tempo : std::uint8_t { schnell, normal, ruhig };
inline constexpr std::array kAllTempos = {Tempo::schnell, Tempo::normal, Tempo::ruhig};

/// The factor for the durations of zoom-in, zoom-out and pan.
double factor(Tempo tempo);

/// Container of the exported movie.
enum class ExportFormat : std::uint8_t { mp4, mov };
inline constexpr std::array kAllExportFormats = {ExportFormat::mp4, ExportFormat::mov};

/// Extension of the export's file name, without the dot.
std::string_view fileExtension(ExportFormat format);

/// A range of source time, in seconds, that the video leaves out.
struct CutRange {
    double start = 0, end = 0;

    bool operator==(const CutRange&) const = default;
};

/// A point that a zoom is centred on: source seconds, and fractions of the source picture from its top-left.
struct FocusKey {
    double t = 0;
    double x = 0, y = 0;

    bool operator==(const FocusKey&) const = default;
};

/// One zoom: magnified by `scale` from `start` to `end` (source seconds), following the focus keys in time order.
struct ZoomSpec {
    double start = 0, end = 0;
    double scale = 1;
    std::vector<FocusKey> focus;

    bool operator==(const ZoomSpec&) const = default;
};

/// A rectangle that is pixelated in the video: fractions of the source picture, origin top-left.
struct MaskRect {
    double x = 0, y = 0, width = 0, height = 0;

    bool operator==(const MaskRect&) const = default;
};

/// "project.json": every editing choice about one recording. A default-constructed value is a new document. Values are
/// not clamped here; the code that uses them does that.
struct ProjectSettings {
    std::int64_t version = 1;
    /// Kept range in source seconds, from 0; `trimEnd` of 0.01 or less, or beyond the recording, means to its end.
    double trimStart = 0, trimEnd = 0;
    std::vector<CutRange> cuts;
    /// Absent: zooms are proposed. Present, even if empty: exactly these zooms.
    std::optional<std::vector<ZoomSpec>> zooms;
    /// Magnification of proposed zooms.
    double zoomScale = 1.6;
    Tempo tempo = Tempo::normal;
    /// Strength of the cursor smoothing, 0 to 1.
    double smoothing = 0.88;
    /// Size of the drawn cursor relative to the recorded one.
    double cursorScale = 1.7;
    /// Background colour, 0 to 1 each, sRGB.
    double backgroundRed = 0.13, backgroundGreen = 0.16, backgroundBlue = 0.21;
    /// Border around the video as a fraction of the canvas height.
    double padding = 0.055;
    /// Radius of the video's corners in canvas pixels.
    double cornerRadius = 26;
    /// Linear gain; 1 leaves the sound unchanged.
    double systemVolume = 1, micVolume = 1;
    /// Whether the film's sound is brought to one loudness. Absent means off, so that documents without it stay as they
    /// are.
    std::optional<bool> levelLoudness;
    /// Lines of the exported movie.
    std::int64_t exportHeight = 1440;
    ExportFormat exportFormat = ExportFormat::mp4;
    bool webcamEnabled = true;
    /// Side of the webcam bubble as a fraction of the canvas height.
    double webcamSize = 0.26;
    /// 0 bottom right, 1 bottom left, 2 top right, 3 top left.
    std::int64_t webcamCorner = 0;
    /// Magnification of the camera's picture inside the bubble.
    double webcamZoom = 1;
    /// Seconds by which the camera's picture is shown later than it was recorded; below 0 earlier. Absent means 0, so
    /// that documents without it stay as they are.
    std::optional<double> webcamShift;
    /// Shares of the source picture that are cut off.
    double cropTop = 0, cropBottom = 0, cropLeft = 0, cropRight = 0;
    std::vector<MaskRect> masks;

    bool levelsLoudness() const { return levelLoudness.value_or(false); }

    /// At most so many seconds in either direction.
    static constexpr double kMaxWebcamShift = 0.5;
    double webcamShiftInForce() const { return std::clamp(webcamShift.value_or(0), -kMaxWebcamShift, kMaxWebcamShift); }

    bool operator==(const ProjectSettings&) const = default;

    static std::filesystem::path fileURL(const std::filesystem::path& folder) { return folder / "project.json"; }

    /// Reads the document of a recording folder. A missing, unreadable or faulty one silently gives the defaults.
    static ProjectSettings load(const std::filesystem::path& folder);

    /// Reads the document from memory; missing keys keep their defaults. Throws `RecorderError` on any error.
    static ProjectSettings parse(const FileBytes& document);

    /// Replaces the folder's document. A failure is only logged.
    void save(const std::filesystem::path& folder) const;
};

}  // namespace lumivastor::model
