// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

#include "platform/capture_stream.h"
#include "platform/content_picker.h"
#include "platform/global_shortcut.h"
#include "platform/pointer_monitor.h"
#include "platform/shareable_content.h"

namespace lumivastor::platform {

/// Why a desktop has no key combinations for programs.
inline constexpr const char* kNoShortcuts = "Dieser Desktop gibt Programmen keine Tastenkürzel.";

/// The desktop that is recorded: one connection to a display server. Any thread.
class Desktop {
  public:
    virtual ~Desktop() = default;

    /// Throws `RecorderError` when the server does not answer.
    virtual ShareableContent shareableContent() = 0;

    /// Returns a stream that is not started. Its `start` reports what is not available.
    virtual std::unique_ptr<CaptureStream> makeCaptureStream(const ContentFilter& filter,
                                                             const StreamConfiguration& configuration) = 0;

    /// Positions are in points of `space`. Null when the desktop does not allow programs to watch the pointer.
    virtual std::unique_ptr<PointerMonitor> monitorPointer(const PointSpace& space, PointerEventHandler handler) = 0;
    virtual std::optional<Point> pointerLocation(const PointSpace& space) = 0;

    /// How the pointer of the content that is recorded is known. Ask while it is monitored.
    virtual PointerKnowledge pointerKnowledge() { return PointerKnowledge::complete; }

    /// nullopt when no cursor is visible. A cursor whose serial is `knownSerial` comes without its image, which saves
    /// the copy. Throws `RecorderError` when the server does not answer.
    virtual std::optional<SystemCursor> currentCursor(std::optional<std::uint64_t> knownSerial) = 0;

    /// The present frame of a window, in points of `space`; nullopt when the window is gone.
    virtual std::optional<Rect> windowFrame(std::uint32_t windowID, const PointSpace& space) = 0;

    /// The desktop's own dialog, which belongs to the desktop; null where this program lists what can be recorded.
    virtual ContentPicker* contentPicker() { return nullptr; }

    /// Whether `grabShortcut` can succeed at all. May take a second.
    virtual bool offersShortcuts() { return false; }
    /// Grabs a key combination on the whole desktop. Where the desktop has a `contentPicker`, it may show a dialog
    /// first: this waits without limit until the user has answered, so not on the main thread, and before a recording
    /// that would show the dialog. Null when `stop` was requested, which closes the dialog. `pressed` runs on the
    /// shortcut's own thread, once for each press, and not after destruction. Throws `RecorderError` when the desktop
    /// or the user refuses, another program has the combination, or the keyboard lacks the letter.
    virtual std::unique_ptr<GlobalShortcut> grabShortcut(const ShortcutRequest& request, std::function<void()> pressed,
                                                         std::stop_token stop);
};

}  // namespace lumivastor::platform
