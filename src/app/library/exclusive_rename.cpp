// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/exclusive_rename.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace lumivastor::app {

std::error_code renameExclusively(const std::filesystem::path& from, const std::filesystem::path& to) {
    const auto last = [] { return std::error_code(errno, std::generic_category()); };
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return last();
    // Some file systems cannot refuse by themselves, and a plain rename would replace an empty folder.
    struct stat status {};
    if (::lstat(to.c_str(), &status) == 0) return std::make_error_code(std::errc::file_exists);
    return ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : last();
}

}  // namespace lumivastor::app
