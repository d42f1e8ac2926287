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
#include "imaging/damage_area.h"
#include "imaging/pixel_buffer.h"
#include "platform/shareable_content.h"
#include "platform/sound_buffer.h"

namespace lumivastor::platform {

/// What a stream captures: a display without the windows of some programs, or one window, wherever it is.
struct DisplayFilter {
    Display display;
    std::vector<RunningApplication> excludedApplications;
};
struct WindowFilter {
    Window window;
    Display display;  // the one that shows most of the window; the capture uses its scale
};
using ContentFilter = std::variant<DisplayFilter, WindowFilter>;

/// The area of the whole content in points: relative to the display's origin for displays, at (0, 0) for windows.
Rect contentRect(const ContentFilter& filter);

struct StreamConfiguration {
    /// Size of the pictures in pixels; even. Content that has another size is placed at the top-left corner without
    /// scaling: cut off where it is larger, black where it is smaller.
    int width = 0;
    int height = 0;
    /// Seconds. At most one picture is taken at each multiple of this interval. Two are closer together only when the
    /// first of them was late.
    double minimumFrameInterval = 1.0 / 60;
    /// How many pictures clients may hold at once. While all are held no picture is taken; the next one then includes
    /// what changed.
    int queueDepth = 6;
    /// The captured part of the display, in points relative to its origin. It may extend beyond the display. Displays
    /// only.
    std::optional<Rect> sourceRect = {};
    bool capturesAudio = false;
    bool captureMicrophone = false;
    /// For both kinds of sound; the microphone keeps its own number of channels.
    int sampleRate = 48000;
    int channelCount = 2;
};

/// The kind of a sample. Only complete and started ones have a picture.
enum class FrameStatus {
    complete,   // new content, or the last picture again (see `CaptureStream`)
    idle,       // nothing has changed
    blank,      // nothing visible, as with a display that is off
    suspended,  // no pictures for now, as with a hidden window
    started,    // the first picture
    stopped,    // the last sample
};

struct ScreenSample {
    FrameStatus status = FrameStatus::idle;
    /// Host clock, seconds: when the picture was taken. It shows everything that was painted before.
    double hostSeconds = 0;
    /// Opaque and of the configured size; null in samples without a picture.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> image;
    /// Where the picture may differ from that of the last sample that had one, in its pixels; nullopt: anywhere. Known
    /// only between pictures of one size.
    imaging::KnownDamage damage = {};
};

/// Live pictures and sound of the desktop. A still screen costs almost nothing but keeps its duration: besides idle
/// samples the stream delivers the last picture again, as complete, at least every second and when it is stopped.
/// Content that is repainted without a change is idle. The stream itself holds the last delivered picture until it
/// takes the next one or is destroyed.
///
/// Add outputs, start and stop, each once and on one thread.
class CaptureStream {
  public:
    virtual ~CaptureStream() = default;

    /// Each handler runs on its queue, which must outlive the stream. Call before `start`.
    virtual void addScreenOutput(SerialQueue& queue, std::function<void(const ScreenSample&)> handler) = 0;
    virtual void addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) = 0;
    virtual void addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) = 0;

    /// Called once, on any thread, when the stream ends by itself (the window was closed, the server is gone). A loss
    /// of sound does not end the stream: `onNotice` gets a German sentence and the pictures continue.
    virtual void onStop(std::function<void(const RecorderError&)> handler) = 0;
    virtual void onNotice(std::function<void(const std::string&)> handler) = 0;
    /// Reports the origin of the captured display on the desktop, in pixels, on any thread: when the stream begins and
    /// on each change (a monitor was plugged in to its left). Pictures taken at `hostSeconds` or later show the display
    /// there. Not called for windows.
    virtual void onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) = 0;

    /// Throws `RecorderError` when pictures, or the configured sound, are not available.
    virtual void start() = 0;
    /// How many pictures of moving content were not taken in time, because the desktop or this machine was too slow.
    /// Grows only. Any thread.
    virtual std::int64_t picturesMissed() const { return 0; }

    /// When it returns, all samples have been posted to the queues. Throws `RecorderError`.
    virtual void stop() = 0;
};

}  // namespace lumivastor::platform
