// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/control_values.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace lumivastor::editor {

namespace {

constexpr std::array<std::int64_t, kExportResolutionTitles.size()> kExportHeights = {1080, 1440, 2160};

template <typename Values, typename Value>
int indexOf(const Values& values, const Value& value) {
    const auto found = std::find(values.begin(), values.end(), value);
    return found == values.end() ? -1 : static_cast<int>(found - values.begin());
}

// The value at a control's index; without a valid one it stays as it is.
template <typename Values, typename Value>
Value at(const Values& values, int index, Value otherwise) {
    return index >= 0 && index < static_cast<int>(values.size()) ? values[static_cast<std::size_t>(index)] : otherwise;
}

}  // namespace

ControlValues controlValues(const model::ProjectSettings& settings, const std::vector<model::ZoomSpec>& zooms,
                            int selectedZoom) {
    const bool isSelected = selectedZoom >= 0 && selectedZoom < static_cast<int>(zooms.size());
    ControlValues values;
    values.zoom = isSelected ? zooms[static_cast<std::size_t>(selectedZoom)].scale : settings.zoomScale;
    values.tempo = indexOf(model::kAllTempos, settings.tempo);
    values.smoothing = settings.smoothing;
    values.cursor = settings.cursorScale;
    values.padding = settings.padding;
    values.corner = settings.cornerRadius;
    values.red = settings.backgroundRed;
    values.green = settings.backgroundGreen;
    values.blue = settings.backgroundBlue;
    values.systemVolume = settings.systemVolume;
    values.micVolume = settings.micVolume;
    values.exportResolution = indexOf(kExportHeights, settings.exportHeight);
    values.exportFormat = indexOf(model::kAllExportFormats, settings.exportFormat);
    values.webcam = settings.webcamEnabled;
    values.webcamSize = settings.webcamSize;
    const bool isCorner =
        settings.webcamCorner >= 0 && settings.webcamCorner < static_cast<std::int64_t>(kWebcamCornerTitles.size());
    values.webcamCorner = isCorner ? static_cast<int>(settings.webcamCorner) : -1;
    values.webcamZoom = settings.webcamZoom;
    values.cropTop = settings.cropTop;
    values.cropBottom = settings.cropBottom;
    values.cropLeft = settings.cropLeft;
    values.cropRight = settings.cropRight;
    return values;
}

model::ProjectSettings settingsFrom(const ControlValues& values, const model::ProjectSettings& before, int selectedZoom,
                                    bool hasWebcam) {
    model::ProjectSettings settings = before;
    settings.zoomScale = values.zoom;
    if (settings.zooms) {
        const int index = indexInList(*settings.zooms, selectedZoom);
        if (index >= 0) (*settings.zooms)[static_cast<std::size_t>(index)].scale = values.zoom;
    }
    settings.tempo = at(model::kAllTempos, values.tempo, before.tempo);
    settings.smoothing = values.smoothing;
    settings.cursorScale = values.cursor;
    settings.padding = values.padding;
    settings.cornerRadius = values.corner;
    settings.backgroundRed = values.red;
    settings.backgroundGreen = values.green;
    settings.backgroundBlue = values.blue;
    settings.systemVolume = values.systemVolume;
    settings.micVolume = values.micVolume;
    settings.exportHeight = at(kExportHeights, std::max(values.exportResolution, 0), before.exportHeight);
    settings.exportFormat = at(model::kAllExportFormats, values.exportFormat, before.exportFormat);
    if (hasWebcam) {
        settings.webcamEnabled = values.webcam;
        settings.webcamSize = values.webcamSize;
        settings.webcamCorner = values.webcamCorner >= 0 ? values.webcamCorner : before.webcamCorner;
        settings.webcamZoom = values.webcamZoom;
    }
    settings.cropTop = values.cropTop;
    settings.cropBottom = values.cropBottom;
    settings.cropLeft = values.cropLeft;
    settings.cropRight = values.cropRight;
    return settings;
}

int indexInList(const std::vector<model::ZoomSpec>& list, int indexInForce) {
    if (indexInForce < 0 || indexInForce >= static_cast<int>(list.size())) return -1;
    std::vector<int> order(list.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&list](int a, int b) {
        return list[static_cast<std::size_t>(a)].start < list[static_cast<std::size_t>(b)].start;
    });
    return order[static_cast<std::size_t>(indexInForce)];
}

}  // namespace lumivastor::editor
