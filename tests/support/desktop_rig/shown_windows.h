// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace lumivastor {

/// The inside of a window, in pixels of the whole desktop.
struct ShownWindow {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// The visible window with this title, if there is one, with or without a window manager's frame.
std::optional<ShownWindow> shownWindow(const std::string& displayName, const std::string& title);

}  // namespace lumivastor
