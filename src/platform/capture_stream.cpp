// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/capture_stream.h"

namespace lumivastor::platform {

Rect contentRect(const ContentFilter& filter) {
    if (const auto* display = std::get_if<DisplayFilter>(&filter)) {
        return {0, 0, display->display.frame.width, display->display.frame.height};
    }
    const Rect& frame = std::get<WindowFilter>(filter).window.frame;
    return {0, 0, frame.width, frame.height};
}

}  // namespace lumivastor::platform
