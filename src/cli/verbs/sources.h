// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "platform/capture_device.h"
#include "platform/content_picker.h"
#include "platform/shareable_content.h"

namespace lumivastor::cli {

/// The sources that can be recorded, as the application lists them.
struct Sources {
    std::vector<platform::Display> displays;
    std::vector<platform::Window> windows;
    std::vector<platform::CaptureDevice> devices;
    /// The reason why displays cannot be recorded, if there is one.
    std::optional<std::string> displayRefusal = {};
    /// What the desktop's own dialog offers, where that chooses; then there are no displays and windows to list.
    std::optional<platform::ContentPicker::Offer> picker = {};
};

/// The recordable sources among the desktop's content and devices.
Sources recordableSources(const platform::ShareableContent& content, std::vector<platform::CaptureDevice> devices);

/// Writes one JSON document.
void writeSources(const Sources& sources, std::ostream& out);
/// Prints the sources for users, each with the option that records it.
void printSources(const Sources& sources, std::ostream& out);

}  // namespace lumivastor::cli
