// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <system_error>

namespace lumivastor {

/// Creates a folder with mode 0700, and missing folders above it with the user's umask. Returns whether it was created;
/// an existing folder is left unchanged and is no error. Any thread.
bool makePrivateFolder(const std::filesystem::path& path, std::error_code& error);

}  // namespace lumivastor
