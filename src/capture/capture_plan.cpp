// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/capture_plan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "base/recorder_error.h"
#include "base/saturated.h"
#include "imaging/picture_limits.h"

namespace lumivastor::capture {

namespace {

// Keeps a desktop's text sharp; see `VideoSettings::constantQuality`.
constexpr int kQuality = 20;
// With motion there is a key picture every two seconds, by count. A still screen has one picture a second, and decoding
// ten of them for a seek is cheap; more key pictures would have to be coarser.
constexpr double kKeySecondsAtRest = 10;
constexpr double kBitsPerPixel = 0.08;

model::Geometry geometryOf(std::uint32_t displayID, const Rect& content, double scale, platform::PictureSize size,
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
    const platform::PictureSize size = evenPixelSize({captured.width, captured.height}, display.scale);
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
    const platform::PictureSize size = evenPixelSize({captured.width, captured.height}, display.scale);
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

platform::PictureSize evenPixelSize(Size points, double scale) {
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

std::int64_t averageBitRate(int width, int height, int fps) {
    return saturated<std::int64_t>(static_cast<double>(width) * height * fps * kBitsPerPixel);
}

media::EncodingJob screenEncodingJob(platform::PictureSize size, int fps) {
    return {size.width, size.height, fps, averageBitRate(size.width, size.height, fps)};
}

std::int64_t deviceBitRate(int width, int height) {
    return std::max<std::int64_t>(averageBitRate(width, height, 60), 8'000'000);
}

bool canAddVideo(const media::VideoSettings& settings) {
    constexpr int kLeast = 2;
    return settings.width >= kLeast && settings.height >= kLeast &&
           imaging::isDecodablePictureSize(settings.width, settings.height);
}

media::VideoSettings liveVideoSettings(int width, int height, int fps, std::int64_t bitRate) {
    media::VideoSettings settings;
    settings.width = width;
    settings.height = height;
    settings.averageBitRate = bitRate;
    settings.maxKeyFrameInterval = 2 * fps;
    settings.maxKeyFrameSeconds = kKeySecondsAtRest;
    settings.frameRate = fps;
    settings.timescale = kLiveTimescale;
    settings.lowLatency = true;
    settings.constantQuality = kQuality;
    return settings;
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

model::CaptureInfo plannedDeviceInfo(const std::string& deviceName, platform::PictureSize size, bool deviceAudio,
                                     bool microphone) {
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

model::Geometry deviceGeometry(platform::PictureSize size) {
    model::Geometry geometry;
    geometry.pixelSize = {static_cast<double>(size.width), static_cast<double>(size.height)};
    geometry.displayBounds = geometry.contentRect = {0, 0, geometry.pixelSize.width, geometry.pixelSize.height};
    return geometry;
}

std::string decimalText(double number) {
    std::array<char, 32> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
    std::string shortest(text.data(), end);
    if (error == std::errc() && shortest.find_first_not_of("-0123456789") == std::string::npos) shortest += ".0";
    return shortest;
}

}  // namespace lumivastor::capture
