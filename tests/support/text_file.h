// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lumivastor {

/// Reads a whole file. Throws an exception that names it.
std::string readText(const std::filesystem::path& path);

/// Replaces a file's content. Throws an exception that names it.
void writeText(const std::filesystem::path& path, std::string_view content);

}  // namespace lumivastor
