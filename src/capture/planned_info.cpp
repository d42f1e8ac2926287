// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/planned_info.h"

namespace lumivastor::capture {

std::optional<model::KnownPointer> knownPointer(platform::PointerKnowledge knowledge) {
    switch (knowledge) {
        case platform::PointerKnowledge::complete:
            return std::nullopt;
        case platform::PointerKnowledge::positions:
            return model::KnownPointer::positions;
        case platform::PointerKnowledge::embedded:
            return model::KnownPointer::embedded;
        case platform::PointerKnowledge::none:
            break;
    }
    return model::KnownPointer::none;
}

model::CaptureInfo plannedInfo(const CapturePlan& plan, const CaptureOptions& options) {
    model::CaptureInfo info;
    info.displayID = plan.displayID;
    const Rect display = plan.windowID ? plan.initialWindowFrame.value_or(Rect{}) : plan.geometry.displayBounds;
    info.displayX = display.x;
    info.displayY = display.y;
    info.displayWidth = display.width;
    info.displayHeight = display.height;
    const Rect& content = plan.geometry.contentRect;
    info.contentX = content.x;
    info.contentY = content.y;
    info.contentWidth = content.width;
    info.contentHeight = content.height;
    info.pointPixelScale = plan.geometry.pointPixelScale;
    info.pixelWidth = plan.width();
    info.pixelHeight = plan.height();
    info.fps = options.fps;
    info.systemAudio = options.systemAudio;
    info.microphone = options.microphone;
    info.sourceKind = plan.sourceKind;
    info.windowTitle = plan.windowTitle;
    return info;
}

model::CaptureInfo plannedDeviceInfo(const std::string& deviceName, PixelSize size, bool deviceAudio, bool microphone) {
    model::CaptureInfo info;
    info.displayWidth = info.contentWidth = size.width;
    info.displayHeight = info.contentHeight = size.height;
    info.pixelWidth = size.width;
    info.pixelHeight = size.height;
    info.fps = 60;
    info.systemAudio = deviceAudio;
    info.microphone = microphone;
    info.sourceKind = "device";
    info.windowTitle = deviceName;
    return info;
}

model::Geometry deviceGeometry(PixelSize size) {
    model::Geometry geometry;
    geometry.pixelSize = {static_cast<double>(size.width), static_cast<double>(size.height)};
    geometry.displayBounds = geometry.contentRect = {0, 0, geometry.pixelSize.width, geometry.pixelSize.height};
    return geometry;
}

}  // namespace lumivastor::capture
