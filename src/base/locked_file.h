// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <system_error>

#include "base/unique_descriptor.h"

// Files that are written beside the one that they will replace. Each is locked as long as its maker writes it, which
// tells it from what a program left that ended before.

namespace lumivastor {

/// Makes an empty file for its owner alone (mode 0600), open for reading and writing, and locked as long as `file` or a
/// duplicate of it is open. `std::errc::file_exists`: the name is taken, or another program has just taken the file
/// for one that was left; a further name is to be tried.
std::error_code makeLocked(const std::filesystem::path& path, UniqueDescriptor& file);

/// Removes the user's own files that are no longer locked. `makerOf` says for each name in the folder whether a file of
/// that name may go at all, and which process made it, 0 when the name does not tell: where file systems have no locks,
/// a file goes when its maker has ended. A folder that cannot be listed stays as it is.
void removeAbandoned(const std::filesystem::path& folder,
                     const std::function<std::optional<pid_t>(std::string_view name)>& makerOf);

}  // namespace lumivastor
