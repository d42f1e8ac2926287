// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop.h"

#include "base/recorder_error.h"

namespace lumivastor::platform {

std::unique_ptr<GlobalShortcut> Desktop::grabShortcut([[maybe_unused]] const ShortcutRequest& request,
                                                      [[maybe_unused]] std::function<void()> pressed,
                                                      [[maybe_unused]] std::stop_token stop) {
    throw RecorderError(kNoShortcuts);
}

}  // namespace lumivastor::platform
