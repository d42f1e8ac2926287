// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/capture_plan.h"
#include "platform/capture_device.h"
#include "platform/shareable_content.h"

// What the user can choose from, and what the choice means. Plain functions.

namespace lumivastor::app {

/// In the order of the control's segments.
enum class SourceType { display, window, region, device };

/// What can be recorded, as it was when it was last looked up.
struct SourceLists {
    std::vector<platform::Display> displays;  // in the server's order
    std::vector<platform::Window> windows;    // those worth recording, by program and title
    std::vector<platform::CaptureDevice> devices;
    /// Left out of every recording of a display.
    std::optional<platform::RunningApplication> ownApplication;
    /// Why no display and no region can be recorded.
    std::optional<std::string> displayRefusal = {};
};

/// The lists for what the desktop and its devices offer. A program without a window of its own at that moment knows
/// itself by its process all the same: its panels come later.
SourceLists sourceLists(const platform::ShareableContent& content, std::vector<platform::CaptureDevice> devices);

/// The source pop-up and the status that goes with it.
struct SourcePopup {
    std::vector<std::string> items;
    std::string status;
};

SourcePopup sourcePopup(SourceType type, const SourceLists& lists);

/// What stands in the pop-up when the desktop does not let itself be looked at.
SourcePopup deniedSourcePopup();

/// The display that shows the source. Nothing when it is gone.
std::optional<platform::Display> displayOf(const capture::CaptureSource& source,
                                           const std::vector<platform::Display>& displays);

}  // namespace lumivastor::app
