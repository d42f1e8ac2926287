// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/capture_plan.h"
#include "platform/capture_device.h"
#include "platform/content_picker.h"
#include "platform/shareable_content.h"

// The lists from which the user chooses a source. Pure functions.

namespace lumivastor::app {

/// In the order of the control's segments.
enum class SourceType { display, window, region, device };

/// A snapshot of what can be recorded.
struct SourceLists {
    std::vector<platform::Display> displays;  // in the server's order
    std::vector<platform::Window> windows;    // those of `recordableWindows`
    std::vector<platform::CaptureDevice> devices;
    /// Left out of every recording of a display.
    std::optional<platform::RunningApplication> ownApplication;
    /// The reason why displays and regions cannot be recorded; nullopt if they can.
    std::optional<std::string> displayRefusal = {};
    /// What the desktop's own dialog offers, where that chooses; then there are no displays and windows to list.
    std::optional<platform::ContentPicker::Offer> picker = {};
};

/// The lists for the desktop's content and devices. Includes this program as `ownApplication`, by its process, even
/// while it has no window, because its panels appear later.
SourceLists sourceLists(const platform::ShareableContent& content, std::vector<platform::CaptureDevice> devices);

/// The source pop-up and the matching status.
struct SourcePopup {
    std::vector<std::string> items;
    std::string status;
    /// Set where the desktop's own dialog chooses: the label of the button that opens it, in place of the pop-up.
    std::optional<std::string> chooseTitle = {};
};

/// `chosen` is what the user has chosen in the desktop's dialog and not recorded yet.
SourcePopup sourcePopup(SourceType type, const SourceLists& lists,
                        const std::optional<platform::ContentPicker::Content>& chosen = {});

/// The kind of content that the desktop's dialog grants for a source; a region is a part of a display. Not for devices.
platform::ContentPicker::Kind pickedKind(SourceType type);
bool isOfKind(const platform::ContentPicker::Content& content, platform::ContentPicker::Kind kind);

/// Menu contents when the desktop refuses to list its sources.
SourcePopup deniedSourcePopup();
/// The same where the desktop has a dialog of its own and `reason` is why that cannot be asked.
SourcePopup missingDialogPopup(const std::string& reason);

/// The display that shows the source; nullopt when the source is gone.
std::optional<platform::Display> displayOf(const capture::CaptureSource& source,
                                           const std::vector<platform::Display>& displays);

}  // namespace lumivastor::app
