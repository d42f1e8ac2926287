// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/capture_plan.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/recorder_error.h"

namespace lumivastor::capture {

namespace {

model::Geometry geometryOf(std::uint32_t displayID, const Rect& content, double scale, PixelSize size,
                           const platform::ShareableContent& desktop, const Rect& otherwise) {
    return {displayID, content, scale, Size{static_cast<double>(size.width), static_cast<double>(size.height)},
            [&](std::uint32_t id) {
                const platform::Display* display = desktop.display(id);
                return display == nullptr ? otherwise : display->frame;
            }};
}

const platform::Display& displayOf(const platform::Window& window, const platform::ShareableContent& content) {
    if (const platform::Display* display = content.display(window.displayID)) return *display;
    if (const platform::Display* display = content.display(content.mainDisplayID)) return *display;
    if (content.displays.empty()) throw RecorderError("Kein Bildschirm gefunden.");
    return content.displays.front();
}

// The display as it is now: it may have moved since it was chosen.
void planDisplay(const platform::Display& chosen, const std::optional<Rect>& region, const CaptureOptions& options,
                 const platform::ShareableContent& content, CapturePlan& plan) {
    const platform::Display* now = content.display(chosen.id);
    const platform::Display& display = now == nullptr ? chosen : *now;
    plan.filter = platform::DisplayFilter{display, options.excludedApplications};
    plan.space = display.pointSpace();
    plan.displayID = display.id;
    plan.sourceKind = region ? "region" : "display";
    const Rect captured = region.value_or(platform::contentRect(plan.filter));
    const PixelSize size = evenPixelSize({captured.width, captured.height}, display.scale);
    plan.geometry = geometryOf(display.id, captured, display.scale, size, content, display.frame);
    plan.configuration.sourceRect = region;
}

void planWindow(const platform::Window& chosen, const platform::ShareableContent& content, CapturePlan& plan) {
    const platform::Window* now = content.window(chosen.id);
    const platform::Window& window = now == nullptr ? chosen : *now;
    const platform::Display& display = displayOf(window, content);
    plan.filter = platform::WindowFilter{window, display};
    plan.space = display.pointSpace();
    plan.sourceKind = "window";
    plan.windowID = window.id;
    plan.initialWindowFrame = window.frame;
    plan.windowTitle = windowTitleForInfo(window);
    const Rect captured = platform::contentRect(plan.filter);
    const PixelSize size = evenPixelSize({captured.width, captured.height}, display.scale);
    plan.geometry =
        geometryOf(content.mainDisplayID, {0, 0, captured.width, captured.height}, display.scale, size, content, {});
}

}  // namespace

void requireRecordable(const CaptureSource& source, const platform::ShareableContent& content) {
    if (content.displayRefusal && !std::holds_alternative<WindowSource>(source)) {
        throw RecorderError(*content.displayRefusal);
    }
}

CapturePlan planCapture(const CaptureOptions& options, const platform::ShareableContent& content) {
    requireRecordable(options.source, content);
    CapturePlan plan;
    if (const auto* display = std::get_if<DisplaySource>(&options.source)) {
        planDisplay(display->display, std::nullopt, options, content, plan);
    } else if (const auto* region = std::get_if<RegionSource>(&options.source)) {
        planDisplay(region->display, region->region, options, content, plan);
    } else {
        planWindow(std::get<WindowSource>(options.source).window, content, plan);
    }
    platform::StreamConfiguration& configuration = plan.configuration;
    configuration.width = static_cast<int>(plan.geometry.pixelSize.width);
    configuration.height = static_cast<int>(plan.geometry.pixelSize.height);
    if (configuration.width < 2 || configuration.height < 2) {
        throw RecorderError("Der gewählte Bereich ist zu klein für eine Aufnahme.");
    }
    configuration.minimumFrameInterval = 1.0 / options.fps;
    // More than the writer holds, so that pictures for a slow encoder are dropped and counted at the writer.
    configuration.queueDepth = 6;
    configuration.capturesAudio = options.systemAudio;
    configuration.sampleRate = 48000;
    configuration.channelCount = 2;
    configuration.captureMicrophone = options.microphone;
    return plan;
}

PixelSize evenPixelSize(Size points, double scale) {
    const auto even = [scale](double length) {
        // Larger than any screen; keeps the conversion defined for absurd sizes.
        return static_cast<int>(std::clamp(std::round(length * scale), 0.0, 1e6)) & ~1;
    };
    return {even(points.width), even(points.height)};
}

std::optional<std::string> windowTitleForInfo(const platform::Window& window) {
    const std::string application = window.application ? window.application->name.value_or("") : "";
    const std::string title = window.title.value_or("");
    if (application.empty() && title.empty()) return std::nullopt;
    if (application.empty()) return title;
    return title.empty() ? application : application + " – " + title;
}

}  // namespace lumivastor::capture
