// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "model/project_settings.h"
#include "ui/control_range.h"

namespace lumivastor::editor {

/// What the controls of the window stand at, and what each of them does to the settings. Indices count segments and
/// menu items from 0; -1 is none selected.
struct ControlValues {
    double zoom = 1.6;
    int tempo = 1;
    double smoothing = 0.88;
    double cursor = 1.7;
    double padding = 0.055;
    double corner = 26;
    double red = 0.13, green = 0.16, blue = 0.21;  // sRGB, 0 to 1
    double systemVolume = 1, micVolume = 1;
    int exportResolution = 1;
    int exportFormat = 0;
    bool webcam = true;
    double webcamSize = 0.26;
    int webcamCorner = 0;
    double webcamZoom = 1;
    double cropTop = 0, cropBottom = 0, cropLeft = 0, cropRight = 0;

    bool operator==(const ControlValues&) const = default;
};

/// The ranges of the sliders.
inline constexpr ui::ControlRange kZoomRange{1.0, 3.0};
inline constexpr ui::ControlRange kSmoothingRange{0.0, 1.0};
inline constexpr ui::ControlRange kCursorRange{0.8, 2.6};
inline constexpr ui::ControlRange kPaddingRange{0.0, 0.14};
inline constexpr ui::ControlRange kCornerRange{0.0, 48.0};
inline constexpr ui::ControlRange kVolumeRange{0.0, 2.0};
inline constexpr ui::ControlRange kWebcamSizeRange{0.14, 0.45};
inline constexpr ui::ControlRange kWebcamZoomRange{1.0, 2.2};
inline constexpr ui::ControlRange kCropRange{0.0, 0.4};

/// The texts of segments and menu items, in the order of their indices.
inline constexpr std::array kTempoTitles = {std::string_view("Schnell"), std::string_view("Normal"),
                                            std::string_view("Ruhig")};
inline constexpr std::array kExportResolutionTitles = {std::string_view("1080p"), std::string_view("1440p"),
                                                       std::string_view("2160p")};
inline constexpr std::array kExportFormatTitles = {std::string_view("MP4"), std::string_view("MOV")};
inline constexpr std::array kWebcamCornerTitles = {std::string_view("Unten rechts"), std::string_view("Unten links"),
                                                   std::string_view("Oben rechts"), std::string_view("Oben links")};

/// What the controls show for these settings. `zooms` are those in force; the zoom slider shows the selected one's
/// scale, and the scale of proposed zooms when none is selected.
ControlValues controlValues(const model::ProjectSettings& settings, const std::vector<model::ZoomSpec>& zooms,
                            int selectedZoom);

/// `before` with every field that has a control set from it. The webcam's fields stay as they are without a webcam.
/// `selectedZoom` counts the zooms in force, which are sorted by their start.
model::ProjectSettings settingsFrom(const ControlValues& values, const model::ProjectSettings& before, int selectedZoom,
                                    bool hasWebcam);

/// Where the zoom with this index among the zooms in force stands in the hand-made list, which a document may hold in
/// any order; -1 when there is none.
int indexInList(const std::vector<model::ZoomSpec>& list, int indexInForce);

}  // namespace lumivastor::editor
