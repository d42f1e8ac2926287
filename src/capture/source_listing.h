// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/content_picker.h"
#include "platform/shareable_content.h"

// The sources that a user can choose to record, their titles, and what will not be known. Pure functions.

namespace lumivastor::capture {

/// Identifies this program's windows while it has none.
inline constexpr const char* kOwnBundleIdentifier = "lumivastor";

/// The identifier by which this program's own windows are left out of the list.
std::string ownIdentifier(const platform::ShareableContent& content);

/// The windows to choose from: ordinary, not too small windows of other programs, sorted by program and title. Windows
/// of unknown programs are left out if `ownIdentifier` is nullopt.
std::vector<platform::Window> recordableWindows(const std::vector<platform::Window>& windows,
                                                const std::optional<std::string>& ownIdentifier);

/// "Terminal – Sitzung 1", "Terminal – (ohne Titel)".
std::string windowTitle(const platform::Window& window);
/// "Bildschirm 1 – 1920×1080 px"; `position` counts from 0.
std::string displayTitle(const platform::Display& display, std::size_t position);

}  // namespace lumivastor::capture
