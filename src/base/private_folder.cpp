// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/private_folder.h"

#include <sys/stat.h>

#include <cerrno>

namespace lumivastor {

bool makePrivateFolder(const std::filesystem::path& path, std::error_code& error) {
    error.clear();
    // A path that ends with a slash names its folder twice.
    const std::filesystem::path folder = path.has_filename() ? path : path.parent_path();
    if (folder.has_parent_path()) std::filesystem::create_directories(folder.parent_path(), error);
    if (error) return false;
    if (::mkdir(folder.c_str(), S_IRWXU) == 0) return true;
    const std::error_code refused(errno, std::generic_category());
    if (!std::filesystem::is_directory(folder, error)) error = refused;
    return false;
}

}  // namespace lumivastor
