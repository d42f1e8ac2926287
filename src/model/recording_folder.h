// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace lumivastor::model {

/// The regular file that a document names relative to its recording folder, with all links resolved. nullopt when the
/// name is empty or absolute, contains "..", leads out of the folder through a link, or names no regular file.
/// Documents are untrusted and must not make the program open files outside the folder.
std::optional<std::filesystem::path> fileInside(const std::filesystem::path& folder, std::string_view name);

}  // namespace lumivastor::model
