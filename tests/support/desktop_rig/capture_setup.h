// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>

#include "platform/desktop.h"
#include "support/await.h"
#include "support/desktop_rig/sample_collector.h"

namespace lumivastor {

/// Pixels per point.
inline double pointPixelScale(const platform::ContentFilter& filter) {
    return std::visit([](const auto& one) { return one.display.scale; }, filter);
}

/// The configuration that a recording of this content has: its size in pixels, made even.
inline platform::StreamConfiguration recordingOf(const platform::ContentFilter& filter,
                                                 std::optional<Rect> region = {}) {
    const Rect content = region.value_or(platform::contentRect(filter));
    platform::StreamConfiguration configuration;
    configuration.width = static_cast<int>(std::lround(content.width * pointPixelScale(filter))) & ~1;
    configuration.height = static_cast<int>(std::lround(content.height * pointPixelScale(filter))) & ~1;
    configuration.sourceRect = region;
    return configuration;
}

/// A capture that runs while the object lives.
class RunningCapture {
  public:
    RunningCapture(platform::Desktop& desktop, const platform::ContentFilter& filter,
                   const platform::StreamConfiguration& configuration)
        : stream_(desktop.makeCaptureStream(filter, configuration)), samples_(*stream_) {
        stream_->start();
    }
    RunningCapture(platform::Desktop& desktop, const platform::ContentFilter& filter, std::optional<Rect> region = {})
        : RunningCapture(desktop, filter, recordingOf(filter, region)) {}

    // The queue outlives the stream.
    ~RunningCapture() { stream_.reset(); }
    RunningCapture(const RunningCapture&) = delete;
    RunningCapture& operator=(const RunningCapture&) = delete;

    SampleCollector& samples() { return samples_; }
    platform::CaptureStream& stream() { return *stream_; }
    /// Stops, and waits until all delivered samples have been handled.
    void stop() {
        stream_->stop();
        samples_.drain();
    }

  private:
    std::unique_ptr<platform::CaptureStream> stream_;
    SampleCollector samples_;
};

inline platform::Display displayNamed(platform::Desktop& desktop, const std::string& name) {
    for (const platform::Display& display : desktop.shareableContent().displays) {
        if (display.name == name) return display;
    }
    throw std::runtime_error("no display " + name);
}

inline platform::Display mainDisplay(platform::Desktop& desktop) {
    const platform::ShareableContent content = desktop.shareableContent();
    return *content.display(content.mainDisplayID);
}

/// The filter for this window; waits until the desktop lists it.
inline platform::WindowFilter windowFilter(platform::Desktop& desktop, std::uint32_t id) {
    platform::ShareableContent content;
    const bool isListed = await([&] {
        content = desktop.shareableContent();
        return content.window(id) != nullptr;
    });
    if (!isListed) throw std::runtime_error("the window is not listed");
    const platform::Window& window = *content.window(id);
    return {window, *content.display(window.displayID)};
}

}  // namespace lumivastor
