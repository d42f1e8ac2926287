// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/pixel_size.h"
#include "platform/pipewire/cursor_meta.h"
#include "platform/pipewire/pipewire_connection.h"
#include "platform/pipewire/screen_picture.h"

namespace lumivastor::pipewire {

/// A stream of a screen's or window's pictures from one node of a PipeWire server. Producers send a picture only when
/// something changed, at a still screen perhaps one in all, and the pointer's moves between pictures. So a stream that
/// is to be recorded later is read from the beginning. One thread: that of the connection, which must outlive the
/// stream.
class ScreenStream {
  public:
    /// Called within the connection's `run`. They must neither throw nor destroy the stream. Empty ones are ignored.
    struct Callbacks {
        /// The size of the buffers in pixels, before the first picture and whenever the format is agreed on again. It
        /// may come twice with the same size, and while pictures flow.
        std::function<void(PixelSize)> formatChanged;
        /// The newest picture. Older ones that arrived with it are left out, their damage is in it.
        std::function<void(const ScreenPicture&)> picture;
        /// The pointer, from every buffer in order, before the picture that arrived with it.
        std::function<void(const CursorReport&)> cursor;
        /// Whether pictures may come: false while the producer rests (a locked or switched-off screen).
        std::function<void(bool)> streamingChanged;
        /// Once: the node, the server or the permission is gone. `reason` is a German sentence. Nothing follows.
        std::function<void(const std::string& reason)> ended;
    };

    struct Options {
        /// Pictures a second that the producer is asked not to exceed.
        int maximumRate = 60;
    };

    /// Throws `RecorderError` when the node cannot be used.
    ScreenStream(PipeWireConnection& connection, std::uint32_t node, const Options& options, Callbacks callbacks);
    ~ScreenStream();
    ScreenStream(const ScreenStream&) = delete;
    ScreenStream& operator=(const ScreenStream&) = delete;

    /// The size of the buffers in pixels; nullopt until the format is agreed on, and while it is agreed on again.
    std::optional<PixelSize> bufferSize() const;
    bool isStreaming() const;
    bool hasEnded() const;

    struct Counts {
        std::uint64_t pictures = 0;    // handed over
        std::uint64_t leftOut = 0;     // whole pictures that a newer one replaced
        std::uint64_t corrupt = 0;     // with pixels that the producer calls bad
        std::uint64_t unreadable = 0;  // whose description does not fit their memory
        std::uint64_t cursorOnly = 0;  // without pixels
        std::uint64_t cursors = 0;     // with cursor metadata
    };
    Counts counts() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace lumivastor::pipewire
