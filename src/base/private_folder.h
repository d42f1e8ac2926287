// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <system_error>

namespace lumivastor {

/// Creates a folder that only its owner may look into, and the folders above it as the user's mask says. Whether it was
/// created: one that is there already stays as it is, which is no error. Any thread.
bool makePrivateFolder(const std::filesystem::path& path, std::error_code& error);

}  // namespace lumivastor
