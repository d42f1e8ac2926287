// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "platform/capture_device.h"
#include "platform/shareable_content.h"

namespace lumivastor::cli {

/// What can be recorded, as the application lists it.
struct Sources {
    std::vector<platform::Display> displays;
    std::vector<platform::Window> windows;
    std::vector<platform::CaptureDevice> devices;
    /// Why there are no displays, where that has a reason.
    std::optional<std::string> displayRefusal = {};
};

/// What of the desktop and its devices can be recorded.
Sources recordableSources(const platform::ShareableContent& content, std::vector<platform::CaptureDevice> devices);

/// One JSON document.
void writeSources(const Sources& sources, std::ostream& out);
/// For people, each with the option that records it.
void printSources(const Sources& sources, std::ostream& out);

}  // namespace lumivastor::cli
