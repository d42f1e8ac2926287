// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/shareable_content.h"

// What the user can choose to record, and how the choices are called. Plain functions.

namespace lumivastor::capture {

/// What tells this program's windows from others' when it has none of its own at the moment.
inline constexpr const char* kOwnBundleIdentifier = "lumivastor";

/// The identifier by which this program's own windows are left out of the list.
std::string ownIdentifier(const platform::ShareableContent& content);

/// The windows to choose from: ordinary ones of other programs that are not too small, by program and title. Windows
/// of an unknown program are left out when `ownIdentifier` is absent, too.
std::vector<platform::Window> recordableWindows(const std::vector<platform::Window>& windows,
                                                const std::optional<std::string>& ownIdentifier);

/// "Terminal – Sitzung 1", "Terminal – (ohne Titel)".
std::string windowTitle(const platform::Window& window);
/// "Bildschirm 1 – 1920×1080 px"; `position` counts from 0.
std::string displayTitle(const platform::Display& display, std::size_t position);

}  // namespace lumivastor::capture
