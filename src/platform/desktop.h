// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/capture_stream.h"
#include "platform/pointer_monitor.h"
#include "platform/shareable_content.h"

namespace lumivastor::platform {

/// The desktop that is recorded: one connection to a display server. Any thread, unless a function says otherwise.
class Desktop {
  public:
    virtual ~Desktop() = default;

    /// Throws `RecorderError` when the server does not answer.
    virtual ShareableContent shareableContent() = 0;

    /// Not yet started. What cannot be had is said by its `start`.
    virtual std::unique_ptr<CaptureStream> makeCaptureStream(const ContentFilter& filter,
                                                             const StreamConfiguration& configuration) = 0;

    /// Positions are told in `space`. Null when the desktop does not let programs watch the pointer.
    virtual std::unique_ptr<PointerMonitor> monitorPointer(const PointSpace& space, PointerEventHandler handler) = 0;
    virtual std::optional<Point> pointerLocation(const PointSpace& space) = 0;

    /// Nothing when there is no cursor or it is invisible. `knownSerial` spares copying the picture: with a cursor of
    /// that serial the image stays empty. Throws `RecorderError` when the server does not answer.
    virtual std::optional<SystemCursor> currentCursor(std::optional<std::uint64_t> knownSerial) = 0;

    /// Where a window is now, in points of `space`. Nothing when it is gone.
    virtual std::optional<Rect> windowFrame(std::uint32_t windowID, const PointSpace& space) = 0;
};

}  // namespace lumivastor::platform
