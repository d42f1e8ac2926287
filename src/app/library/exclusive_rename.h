// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <system_error>

namespace lumivastor::app {

/// Moves a folder to another path of the same file system. `std::errc::file_exists`, and nothing has changed, when
/// something is there, an empty folder included. `std::errc::cross_device_link`: another file system. Any thread.
std::error_code renameExclusively(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace lumivastor::app
