// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace lumivastor::model {

/// The regular file that a document names relative to its recording folder, with all links resolved. None when the
/// name is empty or absolute, has a ".." in it, leads out of the folder through a link, or when no regular file is
/// there: documents are untrusted, and nothing outside the folder is opened because one of them says so.
std::optional<std::filesystem::path> fileInside(const std::filesystem::path& folder, std::string_view name);

}  // namespace lumivastor::model
