// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "base/geometry.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "imaging/pixel_buffer.h"
#include "platform/shareable_content.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// What a picture shows: a display without some programs' windows, or one window wherever it is.
struct DisplayFilter {
    Display display;
    std::vector<RunningApplication> excludedApplications;
};
struct WindowFilter {
    Window window;
    Display display;  // that shows most of the window; its scale is the capture's
};
using ContentFilter = std::variant<DisplayFilter, WindowFilter>;

/// The whole content in points: relative to the display's origin for displays, at (0, 0) for windows.
Rect contentRect(const ContentFilter& filter);

struct StreamConfiguration {
    /// Size of the pictures in pixels; even. Content that has another size is placed at the top-left corner without
    /// scaling: cut off where it is larger, black where it is smaller.
    int width = 0;
    int height = 0;
    /// Seconds. Pictures are taken at multiples of this, at most one at each: two are closer together only by what the
    /// first of them was late.
    double minimumFrameInterval = 1.0 / 60;
    /// How many pictures may be out at once. While they all are, no picture is taken: what was new then comes with the
    /// next one.
    int queueDepth = 6;
    /// A part of the display, in points relative to its origin; may reach over the display's edge. Displays only.
    std::optional<Rect> sourceRect = {};
    bool capturesAudio = false;
    bool captureMicrophone = false;
    /// Of both kinds of sound; the microphone keeps its own number of channels.
    int sampleRate = 48000;
    int channelCount = 2;
};

/// Why a sample came. Only complete and started ones have a picture.
enum class FrameStatus {
    complete,   // new content, or the last picture once more (see `CaptureStream`)
    idle,       // nothing new
    blank,      // nothing to be seen, as with a display that is off
    suspended,  // no pictures for now, as with a window that is hidden
    started,    // the first picture
    stopped,    // nothing follows
};

struct ScreenSample {
    FrameStatus status = FrameStatus::idle;
    /// Host clock, seconds: when the picture was taken. It shows everything that was painted until then.
    double hostSeconds = 0;
    /// Opaque, of the configured size; null when there is none.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> image;
};

/// Pictures and sound of the desktop while they happen. A still screen costs next to nothing and yet keeps its length:
/// besides idle samples the stream delivers the last picture again, as complete, at least every second and when it is
/// stopped. Content that is painted again without a change is idle. The picture that was delivered last stays alive
/// until the next one is taken, also when nobody holds it, or until the stream goes.
///
/// Add outputs, start, stop; once. These calls belong to one thread.
class CaptureStream {
  public:
    virtual ~CaptureStream() = default;

    /// Each handler runs on its queue, which outlives the stream. Before `start`.
    virtual void addScreenOutput(SerialQueue& queue, std::function<void(const ScreenSample&)> handler) = 0;
    virtual void addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) = 0;
    virtual void addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) = 0;

    /// Told once when the stream ends by itself (the window was closed, the server is gone), from any thread. Sound
    /// that ends does not end the stream: it is told to `onNotice` and the rest goes on.
    virtual void onStop(std::function<void(const RecorderError&)> handler) = 0;
    virtual void onNotice(std::function<void(const std::string&)> handler) = 0;
    /// Told, from any thread, where on the desktop the captured display begins, in pixels: when the stream begins, and
    /// whenever that changes (a monitor was plugged in to its left). Pictures taken at `hostSeconds` or later show the
    /// display there. Never told for windows.
    virtual void onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) = 0;

    /// Throws `RecorderError` when pictures, or sound that was asked for, cannot be had.
    virtual void start() = 0;
    /// When it returns, everything that was taken has been handed to the queues. Throws `RecorderError`.
    virtual void stop() = 0;
};

}  // namespace lumivastor::platform
